# The manual: man pages, which every build that installs brings, and by the target `docs` HTML pages. Both are made of the
# public header; a warning of Doxygen is an error.
file(STRINGS CHANGELOG.md release REGEX "^## ${PROJECT_VERSION} ")
string(REGEX MATCH "[0-9]+-[0-9]+-[0-9]+" release_date "${release}")

find_program(AWK awk)
if(AWK)
  set(man_pages ${PROJECT_BINARY_DIR}/man)
  set(header ${PROJECT_SOURCE_DIR}/include/ambielf/ambielf.h)
  set(page_maker ${PROJECT_SOURCE_DIR}/cmake/man_pages.awk)
  set(error_texts ${PROJECT_SOURCE_DIR}/docs/errors.md)
  add_custom_command(OUTPUT ${man_pages}/man7/ambielf.7
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${man_pages}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${man_pages}/man3 ${man_pages}/man7
    COMMAND ${AWK} -v names=${PROJECT_SOURCE_DIR}/cmake/exports.txt -v errors=${error_texts} -v version=${PROJECT_VERSION}
      -v date=${release_date} -v folder=${man_pages} -f ${page_maker} ${header}
    DEPENDS ${header} ${page_maker} ${error_texts} CHANGELOG.md
    COMMENT "Writing the man pages")
  add_custom_target(man ALL DEPENDS ${man_pages}/man7/ambielf.7)
  if(AMBIELF_INSTALL AND NOT WIN32)
    install(DIRECTORY ${man_pages}/ DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT development)
  endif()
endif()

find_program(DOXYGEN doxygen)
if(DOXYGEN)
  configure_file(docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
  add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${PROJECT_BINARY_DIR}/docs
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/docs
    COMMAND ${DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
    COMMENT "Writing the manual to docs/html")
endif()
