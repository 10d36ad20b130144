# One static library per source folder (subfolders are modules of their own),
# so each folder builds and its tests run on its own. Sources are globbed:
# adding a file needs no CMake edit.
set(VELMAR_MODULES "" CACHE INTERNAL "")

# velmar_module(<folder> [DEPS <module>...] [LIBS <target>...])
# <folder> is relative to src/, e.g. "platform" or "sources/text".
function(velmar_module folder)
  cmake_parse_arguments(ARG "" "" "DEPS;LIBS" ${ARGN})
  string(REPLACE "/" "_" name "${folder}")
  file(GLOB srcs CONFIGURE_DEPENDS
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
  target_include_directories(${target} ${scope}
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
      $<INSTALL_INTERFACE:include>)
  set(deps "")
  foreach(d IN LISTS ARG_DEPS)
    string(REPLACE "/" "_" dn "${d}")
    list(APPEND deps velmar_${dn})
  endforeach()
  target_link_libraries(${target} ${scope} ${deps} ${ARG_LIBS} Threads::Threads)
  set(VELMAR_MODULES ${VELMAR_MODULES} ${target} CACHE INTERNAL "")
endfunction()

# velmar_tests(<folder> [THREADED] [DEPS <module>...] [LIBS <target>...])
# THREADED labels the tests "threaded" so the tsan preset runs them.
# Every tests/<folder>/*_test.cpp goes into one executable linked with the module.
function(velmar_tests folder)
  cmake_parse_arguments(ARG "THREADED" "" "DEPS;LIBS" ${ARGN})
  string(REPLACE "/" "_" name "${folder}")
  file(GLOB srcs CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${folder}/*_test.cpp")
  if(NOT srcs)
    return()
  endif()
  file(GLOB helpers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${folder}/*_helper.cpp")
  set(deps velmar_${name})
  foreach(d IN LISTS ARG_DEPS)
    string(REPLACE "/" "_" dn "${d}")
    list(APPEND deps velmar_${dn})
  endforeach()
  set(target velmar_${name}_tests)
  add_executable(${target} ${srcs} ${helpers})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${target} PRIVATE ${deps} ${ARG_LIBS} velmar_testsupport GTest::gmock GTest::gtest_main)
  velmar_test_pch(${target})
  set(labels ${name})
  if(ARG_THREADED)
    list(APPEND labels threaded)
  endif()
  gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST
      PROPERTIES ENVIRONMENT "VELMAR_TEST_DATA=${PROJECT_SOURCE_DIR}/tests/data" LABELS "${labels}"
      TEST_PREFIX "${name}.")
endfunction()

# Every test file parses GoogleTest, GoogleMock and much of the standard
# library; precompiling them roughly halves a cold build of the tests.
function(velmar_test_pch target)
  target_precompile_headers(${target} PRIVATE
      <gtest/gtest.h> <gmock/gmock.h> <algorithm> <atomic> <chrono> <filesystem>
      <functional> <map> <memory> <mutex> <optional> <span> <string> <thread> <vector>)
endfunction()
