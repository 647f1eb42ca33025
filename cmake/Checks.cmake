# Checks on what the project hands to its users, run by ctest beside the tests of the code. A tree that repeats the
# tests with other compilers or options leaves them out.
option(AMBIELF_CHECKS "Check headers, exports, documents and the installed library, too" ON)
if(NOT AMBIELF_CHECKS OR WIN32)
  return()
endif()

set(scripts ${PROJECT_SOURCE_DIR}/scripts)
add_test(NAME check/headers COMMAND ${scripts}/check-headers)
add_test(NAME check/includes COMMAND ${scripts}/check-includes)
add_test(NAME check/documents COMMAND ${scripts}/check-documents)
# Behind all tests, each of which adds to the list.
add_test(NAME check/reported_codes COMMAND ${scripts}/check-reported-codes ${reported_codes})
set_tests_properties(check/reported_codes PROPERTIES FIXTURES_REQUIRED all_tests)
if(AMBIELF_SHARED)
  add_test(NAME check/exports COMMAND ${scripts}/check-exports $<TARGET_FILE:ambielf> AMBIELF_${AMBIELF_ABI})
  add_test(NAME check/two_versions COMMAND ${scripts}/test-two-versions ${PROJECT_BINARY_DIR})
  add_test(NAME check/install COMMAND ${scripts}/test-install ${PROJECT_BINARY_DIR})
endif()
if(DOXYGEN)
  add_test(NAME check/manual COMMAND ${CMAKE_COMMAND} --build ${PROJECT_BINARY_DIR} --target docs)
endif()
