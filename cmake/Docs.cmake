# The target `docs`: the manual, from the public header's comments. A warning of Doxygen is an error.
find_program(DOXYGEN doxygen)
if(DOXYGEN)
  configure_file(docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
  add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${PROJECT_BINARY_DIR}/docs
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/docs
    COMMAND ${DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
    COMMAND awk -v names=${PROJECT_SOURCE_DIR}/cmake/exports.txt -v version=${PROJECT_VERSION} -v folder=docs/man/man3
      -f ${PROJECT_SOURCE_DIR}/cmake/man_pages.awk docs/man/man3/ambielf.h.3
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
    COMMENT "Writing the manual to docs/html and docs/man")
endif()
