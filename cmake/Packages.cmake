# `cpack -G DEB`, `cpack -G TGZ` and, of a build for Windows, `cpack -G ZIP`. The Debian packages are split as Debian
# splits a library: libambielf<ABI> with the shared library alone, so that two ABIs can be installed side by side,
# libambielf-dev with what builds need, ambielf-tools with the command, libambielf-doc with the documents. A tree
# configured with the prefix /usr puts the library into Debian's multiarch folder.
#
# Packages are the same, byte for byte, wherever and under whatever umask they are made: times are the release's unless
# SOURCE_DATE_EPOCH says otherwise, modes are set, and PackageOrder.cmake puts lists in order.
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_VENDOR ambielf)
set(CPACK_PACKAGE_CONTACT "ambielf maintainers <maintainers@ambielf.example>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)

# Each package brings its copyright and changelog, as Debian wants them; archives have one of each.
set(components development documentation)
set(package_of_development libambielf-dev)
set(package_of_documentation libambielf-doc)
if(AMBIELF_SHARED)
  list(PREPEND components runtime)
  set(package_of_runtime libambielf${AMBIELF_ABI})
endif()
if(TARGET ambielf_tool)
  list(APPEND components tools)
  set(package_of_tools ambielf-tools)
endif()
set(CPACK_COMPONENTS_ALL ${components})

# The documents, and the examples that they quote.
set(documents ${CMAKE_INSTALL_DATADIR}/doc/libambielf-doc)
file(GLOB texts CONFIGURE_DEPENDS docs/*.md docs/*.svg)
install(FILES ${texts} README.md CHANGELOG.md DESTINATION ${documents} COMPONENT documentation)
install(DIRECTORY examples DESTINATION ${documents} COMPONENT documentation
  FILES_MATCHING PATTERN *.c PATTERN *.cpp)
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/html DESTINATION ${documents} COMPONENT documentation OPTIONAL)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE ambielf)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})  # the command needs the library
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS libambielf-doc)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "This package holds the headers, the man pages of the library\nand the files that build systems want.")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION
  "This package holds the guide, the descriptions of formats and errors,\nand example programs.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "This package holds the shared library.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
  "This package holds the command ambielf, which lists, copies, strips\nand converts objects.")
foreach(component IN LISTS components)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package_of_${component}})
endforeach()

# What CPack itself does not write: a trigger in place of scripts that call ldconfig (PackageOrder.cmake takes those
# away), and which version of the library a program needs.
if(AMBIELF_SHARED)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${package_of_runtime} (= ${PROJECT_VERSION})")
  if(TARGET ambielf_tool)  # holds the library itself, unless it is told otherwise
    get_target_property(libraries ambielf_tool LINK_LIBRARIES)
    if("ambielf::ambielf" IN_LIST libraries)
      set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${package_of_runtime} (= ${PROJECT_VERSION})")
    endif()
  endif()
  set(control ${PROJECT_BINARY_DIR}/debian)
  set(soname libambielf.so.${AMBIELF_ABI})
  set(node AMBIELF_${AMBIELF_ABI})
  list(TRANSFORM exports REPLACE "(.+)" " \\1@${node} ${PROJECT_VERSION}\n" OUTPUT_VARIABLE symbols)
  list(JOIN symbols "" symbols)
  file(CONFIGURE OUTPUT ${control}/symbols @ONLY CONTENT
    "@soname@ @package_of_runtime@ #MINVER#\n @node@@@node@ @PROJECT_VERSION@\n@symbols@")
  file(CONFIGURE OUTPUT ${control}/shlibs @ONLY CONTENT
    "libambielf @AMBIELF_ABI@ @package_of_runtime@ (>= @PROJECT_VERSION@)\n")
  file(CONFIGURE OUTPUT ${control}/triggers CONTENT "activate-noawait ldconfig\n")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${control}/symbols ${control}/shlibs ${control}/triggers)
endif()

# The present version's changes, in Debian's form. The day is the one that CHANGELOG.md names.
execute_process(COMMAND date -u -d ${release_date} "+%s;%a, %d %b %Y %T +0000" ERROR_QUIET
  OUTPUT_VARIABLE release_time OUTPUT_STRIP_TRAILING_WHITESPACE)
if(release_time)
  list(POP_FRONT release_time CPACK_AMBIELF_EPOCH)
  execute_process(
    COMMAND sed -n "/^## ${PROJECT_VERSION} /,/^## /{/^## /!p}" ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    COMMAND fmt -w 70
    COMMAND sed -e "s/^./    &/" -e "1,/^ /s/^    /  * /"
    OUTPUT_VARIABLE changes)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/debian/changelog @ONLY CONTENT
    "ambielf (@PROJECT_VERSION@) unstable; urgency=medium\n@changes@\n -- @CPACK_PACKAGE_CONTACT@  @release_time@\n")
  foreach(component IN LISTS components)
    set(folder ${CMAKE_INSTALL_DATADIR}/doc/${package_of_${component}})
    install(FILES LICENSE DESTINATION ${folder} RENAME copyright COMPONENT ${component})
    install(FILES ${PROJECT_BINARY_DIR}/debian/changelog DESTINATION ${folder} COMPONENT ${component})
  endforeach()
endif()

set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/PackageOptions.cmake)
set(CPACK_AMBIELF_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackageStaging.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackageOrder.cmake)
include(CPack)
