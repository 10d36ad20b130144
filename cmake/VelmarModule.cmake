# One static library per source folder (subfolders are modules of their own),
# so each folder builds and its tests run on its own. Sources are globbed:
# adding a file needs no CMake edit.
set(VELMAR_MODULES "" CACHE INTERNAL "")

# velmar_module(<folder> [RECURSE] [DEPS <module>...] [LIBS <target>...])
# <folder> is relative to src/, e.g. "platform" or "sources/text". RECURSE
# takes the sub-folders into the same library: a folder grouped by concept
# whose concepts use each other both ways.
function(velmar_module folder)
  cmake_parse_arguments(ARG "RECURSE" "" "DEPS;LIBS" ${ARGN})
  string(REPLACE "/" "_" name "${folder}")
  set(glob GLOB)
  if(ARG_RECURSE)
    set(glob GLOB_RECURSE)
  endif()
  file(${glob} srcs CONFIGURE_DEPENDS
       "${PROJECT_SOURCE_DIR}/src/${folder}/*.cpp" "${PROJECT_SOURCE_DIR}/src/${folder}/*.c")
  set(target velmar_${name})
  if(srcs)
    add_library(${target} STATIC ${srcs})
    set(scope PUBLIC)
  else()
    add_library(${target} INTERFACE)
    set(scope INTERFACE)
  endif()
  add_library(velmar::${name} ALIAS ${target})
  if(srcs)
    velmar_pch(${target} libs ${VELMAR_STD_PCH})
  endif()
  # Only the public headers travel to whoever links a module; src/ stays
  # the library's own, so a host cannot reach in by accident.
  target_include_directories(${target} ${scope}
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
      $<INSTALL_INTERFACE:include>)
  if(srcs)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src)
  endif()
  set(deps "")
  foreach(d IN LISTS ARG_DEPS)
    string(REPLACE "/" "_" dn "${d}")
    list(APPEND deps velmar_${dn})
  endforeach()
  target_link_libraries(${target} ${scope} ${deps} ${ARG_LIBS} Threads::Threads)
  set(VELMAR_MODULES ${VELMAR_MODULES} ${target} CACHE INTERNAL "")
endfunction()

# Runtime modules (the heavy runtimes, loaded on first need by
# platform/runtime_module) are built beside libvelmar.so and installed
# beside it.
set(VELMAR_RUNTIME_MODULE_DIR ${PROJECT_BINARY_DIR}/src)

# velmar_runtime_module(<name> SOURCES <file>... [LIBS <target>...] [NEEDED_BY <target>...])
# A MODULE library lib<name>.so with hidden symbols but its entry; linked
# with nothing undefined, so it loads wherever its runtime is installed.
# NEEDED_BY: the library folders that load it (built after it).
function(velmar_runtime_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;NEEDED_BY" ${ARGN})
  add_library(${name} MODULE ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} Threads::Threads)
  set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET hidden PREFIX "lib"
      LIBRARY_OUTPUT_DIRECTORY ${VELMAR_RUNTIME_MODULE_DIR})
  target_link_options(${name} PRIVATE -Wl,--exclude-libs,ALL -Wl,-Bsymbolic)
  # A sanitizer's runtime comes from the host executable.
  if(NOT CMAKE_CXX_FLAGS MATCHES "sanitize")
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
  endif()
  foreach(user IN LISTS ARG_NEEDED_BY)
    add_dependencies(${user} ${name})
  endforeach()
  install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

# velmar_tests(<folder> [THREADED] [RECURSE] [DEPS <module>...] [LIBS <target>...])
# THREADED labels the tests "threaded" so the tsan preset runs them; RECURSE
# mirrors a RECURSE module. Every tests/<folder>/*_test.cpp goes into one
# executable linked with the module.
function(velmar_tests folder)
  cmake_parse_arguments(ARG "THREADED;RECURSE" "" "DEPS;LIBS" ${ARGN})
  string(REPLACE "/" "_" name "${folder}")
  set(glob GLOB)
  if(ARG_RECURSE)
    set(glob GLOB_RECURSE)
  endif()
  file(${glob} srcs CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${folder}/*_test.cpp")
  if(NOT srcs)
    return()
  endif()
  file(${glob} helpers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${folder}/*_helper.cpp")
  set(deps velmar_${name})
  foreach(d IN LISTS ARG_DEPS)
    string(REPLACE "/" "_" dn "${d}")
    list(APPEND deps velmar_${dn})
  endforeach()
  set(target velmar_${name}_tests)
  add_executable(${target} ${srcs} ${helpers})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PRIVATE ${deps} ${ARG_LIBS} velmar_testsupport GTest::gmock GTest::gtest_main)
  velmar_test_compile_setup(${target})
  # gtest_discover_tests passes PROPERTIES on as a flat list, so a test can
  # carry one label only: "threaded" for the suites the tsan preset runs,
  # else the folder (the test names carry the folder either way).
  if(ARG_THREADED)
    set(label threaded)
  else()
    set(label ${name})
  endif()
  # A slow machine (a coverage or sanitizer build under load) may take more
  # than the default 5 s to list the tests.
  gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
      PROPERTIES ENVIRONMENT "VELMAR_TEST_DATA=${PROJECT_SOURCE_DIR}/tests/data" LABELS ${label}
      TEST_PREFIX "${name}.")
endfunction()

# Precompiled headers: one set for the libraries, one for the tests, each
# compiled once by the first target of its kind and reused by the rest
# (libraries build -fPIC and executables -fPIE, so they cannot share one).
set(VELMAR_STD_PCH <algorithm> <array> <atomic> <chrono> <cstdint> <cstring> <filesystem>
    <functional> <map> <memory> <mutex> <optional> <span> <string> <string_view> <utility>
    <vector>)

# velmar_pch(<target> <kind> <header>...): the first target of a kind
# precompiles the headers; later ones reuse its result.
function(velmar_pch target kind)
  get_property(donor GLOBAL PROPERTY VELMAR_PCH_DONOR_${kind})
  if(donor)
    target_precompile_headers(${target} REUSE_FROM ${donor})
  else()
    target_precompile_headers(${target} PRIVATE ${ARGN})
    set_property(GLOBAL PROPERTY VELMAR_PCH_DONOR_${kind} ${target})
  endif()
endfunction()

# Every test file parses GoogleTest, GoogleMock and much of the standard
# library, and most of its time goes to optimising assertion macros: test
# code builds with line tables only, at -O1, and unoptimised in the
# sanitizer builds, where instrumenting it costs most (the libraries keep
# their flags).
function(velmar_test_compile_setup target)
  target_compile_options(${target} PRIVATE $<IF:$<CONFIG:Debug>,-O0,-O1> -g1)
  velmar_pch(${target} tests <gtest/gtest.h> <gmock/gmock.h> <thread> ${VELMAR_STD_PCH})
endfunction()
