# Checks on what the library hands to its users, run by ctest beside the tests of the code.
if(NOT WIN32)
  add_test(NAME check/headers COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-headers)
  add_test(NAME check/includes COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-includes)
endif()
