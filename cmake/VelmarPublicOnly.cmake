# velmar_require_public_only(<target>...): stops the configure step when a
# target, or anything it links, would give it an include directory of the
# library's private sources (src/). Hosts, the velmar CLI among them, see
# only include/velmar; what one needs is made public on purpose.

# Every target in the link closure of `target`, itself included.
function(_velmar_link_closure target out_var)
  set(seen "")
  set(queue ${target})
  while(queue)
    list(POP_FRONT queue t)
    # $<LINK_ONLY:x> and the like still name a target whose usage travels.
    string(REGEX REPLACE "^\\$<[A-Z_]+:(.*)>$" "\\1" t "${t}")
    if(NOT TARGET ${t} OR t IN_LIST seen)
      continue()
    endif()
    get_target_property(aliased ${t} ALIASED_TARGET)
    if(aliased)
      list(APPEND queue ${aliased})
      continue()
    endif()
    list(APPEND seen ${t})
    foreach(prop LINK_LIBRARIES INTERFACE_LINK_LIBRARIES)
      get_target_property(libs ${t} ${prop})
      if(libs AND NOT (prop STREQUAL "LINK_LIBRARIES" AND NOT t STREQUAL target))
        list(APPEND queue ${libs})
      endif()
    endforeach()
  endwhile()
  set(${out_var} ${seen} PARENT_SCOPE)
endfunction()

function(velmar_require_public_only)
  set(private_dir "${PROJECT_SOURCE_DIR}/src")
  foreach(target IN LISTS ARGN)
    _velmar_link_closure(${target} closure)
    foreach(t IN LISTS closure)
      if(t STREQUAL target)
        set(prop INCLUDE_DIRECTORIES)
      else()
        set(prop INTERFACE_INCLUDE_DIRECTORIES)
      endif()
      get_target_property(dirs ${t} ${prop})
      if(dirs AND "${dirs}" MATCHES "${private_dir}(/|;|>|$)")
        message(FATAL_ERROR "${target} may see only the public headers, but the include "
                            "directories of ${t} reach into the library's private sources "
                            "(${private_dir}). Make what it needs public under include/velmar instead.")
      endif()
    endforeach()
  endforeach()
endfunction()
