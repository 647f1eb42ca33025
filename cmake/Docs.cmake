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

# The site: the documents, the reference of both headers and, where mandoc is found, the man pages.
find_program(DOXYGEN doxygen)
find_program(MANDOC mandoc)
if(DOXYGEN)
  set(site ${PROJECT_BINARY_DIR}/docs/html)
  if(AWK AND MANDOC)
    file(GLOB command_pages CONFIGURE_DEPENDS docs/man/*.1)
    set(pages_as_html COMMAND ${PROJECT_SOURCE_DIR}/scripts/man-html ${site}/man)
    file(STRINGS cmake/exports.txt functions)
    list(TRANSFORM functions REPLACE "(.+)" "${man_pages}/man3/\\1.3" OUTPUT_VARIABLE pages)
    list(APPEND pages_as_html ${man_pages}/man7/ambielf.7 ${command_pages} ${pages})
  else()
    set(front_page_filter "*/index.md=\"sed '/^The man pages/,$d'\"")
  endif()
  configure_file(docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
  add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${PROJECT_BINARY_DIR}/docs
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/docs
    COMMAND ${DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
    ${pages_as_html}
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
    COMMENT "Writing the manual to docs/html")
  if(TARGET man)
    add_dependencies(docs man)
  endif()
endif()
