# Tests: each folder of tests/ becomes one GoogleTest program, tests/<folder>/*_test.cpp, linked with all of the
# library's code and with tests/support, and one test of ctest: all its cases run in one process.

# Tests of an optimised library need not be optimised themselves: that takes time, and g++ 12 has false warnings about
# bounds in inlined containers.
set(ambielf_test_options $<$<CONFIG:Release>:-O1>)
if(CMAKE_CROSSCOMPILING)  # no package has it built for other systems, but one brings its sources
  set(ambielf_test_options -O0)  # its tests show the other system's ways, not its speed
  add_compile_options(-O0)
  set(AMBIELF_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's sources, for a cross build")
  block()
    set(BUILD_SHARED_LIBS OFF)
    add_subdirectory(${AMBIELF_GOOGLETEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  endblock()
else()
  find_package(GTest REQUIRED)
endif()
file(GLOB support CONFIGURE_DEPENDS tests/support/*.cpp tests/support/*.h)
list(FILTER support EXCLUDE REGEX "_test\\.cpp$")

file(GLOB_RECURSE test_sources CONFIGURE_DEPENDS tests/*_test.cpp)
# Tests for one operating system are in separate files.
if(WIN32)
  list(FILTER test_sources EXCLUDE REGEX "_posix_test\\.cpp$")
else()
  list(FILTER test_sources EXCLUDE REGEX "_windows_test\\.cpp$")
endif()
if(NOT TARGET ambielf_tool)
  list(FILTER test_sources EXCLUDE REGEX "/tests/tools/")
endif()
set(folders "")
foreach(source IN LISTS test_sources)
  file(RELATIVE_PATH relative ${PROJECT_SOURCE_DIR}/tests ${source})
  if(relative MATCHES "^([^/]+)/")
    set(folder ${CMAKE_MATCH_1})
  else()
    set(folder ambielf)
  endif()
  list(APPEND folders ${folder})
  list(APPEND sources_of_${folder} ${source})
endforeach()
list(REMOVE_DUPLICATES folders)

add_library(ambielf_test_support INTERFACE)
target_compile_options(ambielf_test_support INTERFACE ${ambielf_test_options})
target_link_libraries(ambielf_test_support INTERFACE GTest::gtest)
target_include_directories(ambielf_test_support INTERFACE ${PROJECT_SOURCE_DIR}/tests)
# Tests start programs as ctest starts the tests. On Windows these have left the emulator behind by then.
set(emulator "")
if(CMAKE_CROSSCOMPILING_EMULATOR AND NOT WIN32)
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
  string(APPEND emulator " ")
endif()
target_compile_definitions(ambielf_test_support INTERFACE
  _FILE_OFFSET_BITS=64  # as the library has it: what stands in front of the system's calls needs their names
  AMBIELF_TEST_EMULATOR="${emulator}"
  AMBIELF_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data" AMBIELF_TEST_SCRATCH="${PROJECT_BINARY_DIR}/scratch"
  AMBIELF_EXAMPLES_DIR="${PROJECT_BINARY_DIR}/examples"
  AMBIELF_TOOL="${PROJECT_BINARY_DIR}/tools/ambielf${CMAKE_EXECUTABLE_SUFFIX}")
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/scratch)
# tests/support/failing_allocation.cpp intercepts the calls of allocators, reported_codes.cpp those of elf_errno.
set(reported_codes ${PROJECT_BINARY_DIR}/reported_codes)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(size_letter j)
elseif(WIN32)
  set(size_letter y)
else()
  set(size_letter m)
endif()
foreach(function IN ITEMS elf_errno malloc calloc realloc _Znw${size_letter} _Zna${size_letter}
    _Znw${size_letter}RKSt9nothrow_t _Zna${size_letter}RKSt9nothrow_t _ZNSt3pmr19new_delete_resourceEv)
  list(APPEND wrapped -Wl,--wrap=${function})
endforeach()

if(support MATCHES "\\.cpp")
  add_library(ambielf_test_support_objects OBJECT ${support})
  ambielf_own_target(ambielf_test_support_objects)
  target_link_libraries(ambielf_test_support_objects PUBLIC ambielf_core ambielf_test_support)
  target_compile_definitions(ambielf_test_support_objects PRIVATE AMBIELF_REPORTED_CODES="${reported_codes}")
  target_link_options(ambielf_test_support_objects INTERFACE ${wrapped})
endif()

set(first_program "")
foreach(folder IN LISTS folders)
  set(program ${folder}_tests)
  add_executable(${program} ${sources_of_${folder}})
  ambielf_own_target(${program})
  # GoogleTest's headers take a third of the time that a test takes to compile.
  if(first_program)
    target_precompile_headers(${program} REUSE_FROM ${first_program})
  else()
    target_precompile_headers(${program} PRIVATE <gtest/gtest.h> <algorithm> <string> <vector>)
    set(first_program ${program})
  endif()
  target_link_libraries(${program} PRIVATE ambielf_core ambielf_test_support)
  if(TARGET ambielf_test_support_objects)
    target_link_libraries(${program} PRIVATE ambielf_test_support_objects)
  endif()
  add_test(NAME ${folder} COMMAND ${program} --gtest_brief=1)
  set_tests_properties(${folder} PROPERTIES TIMEOUT 900 FIXTURES_SETUP all_tests)
endforeach()
if(TARGET tools_tests)
  add_dependencies(tools_tests ambielf_tool)
  set_tests_properties(tools PROPERTIES COST 10)  # the longest start first
endif()
if(TARGET faults_tests)
  set_tests_properties(faults PROPERTIES COST 9)
endif()
