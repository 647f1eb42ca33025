# `cpack -G DEB` and `cpack -G TGZ`. The Debian packages are split as Debian splits a library: libambielf<ABI> with the
# shared library alone, so that two ABIs can be installed side by side, and libambielf-dev with what builds need. A tree
# configured with the prefix /usr puts the library into Debian's multiarch folder.
set(CPACK_PACKAGE_VENDOR ambielf)
set(CPACK_PACKAGE_CONTACT "ambielf maintainers <maintainers@ambielf.example>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})

set(runtime_package libambielf${AMBIELF_ABI})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "This package holds the shared library.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libambielf-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "This package holds headers, manual and the files that build systems want.")
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/MultiArch.cmake)

install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${runtime_package} RENAME copyright COMPONENT runtime)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libambielf-dev RENAME copyright COMPONENT development)
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libambielf-dev COMPONENT development)

include(CPack)
