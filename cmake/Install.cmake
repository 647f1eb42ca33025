# What `cmake --install` lays down, for CMake's find_package, for pkg-config and for distributions' packages.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS ambielf EXPORT ambielfTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY include/ambielf DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

# find_package(ambielf CONFIG)
set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/ambielf)
configure_package_config_file(cmake/ambielfConfig.cmake.in ${PROJECT_BINARY_DIR}/ambielfConfig.cmake
  INSTALL_DESTINATION ${config_folder} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ambielfConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(EXPORT ambielfTargets NAMESPACE ambielf:: DESTINATION ${config_folder} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/ambielfConfig.cmake ${PROJECT_BINARY_DIR}/ambielfConfigVersion.cmake
  DESTINATION ${config_folder} COMPONENT development)

# pkg-config. The prefix is found from the place of the .pc file, so that an installation can be moved; a library
# folder that is absolute can't be.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH way_up /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  string(REGEX REPLACE "/$" "" way_up ${way_up})
  set(pc_prefix "\${pcfiledir}/${way_up}")
endif()
cmake_path(APPEND pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND pc_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
list(TRANSFORM cxx_runtime PREPEND -l OUTPUT_VARIABLE pc_libs_private)
list(JOIN pc_libs_private " " pc_libs_private)
if(NOT BUILD_SHARED_LIBS)
  set(pc_cflags " -DAMBIELF_STATIC")
endif()
configure_file(cmake/ambielf.pc.in ${PROJECT_BINARY_DIR}/ambielf.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ambielf.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# The manual's pages, if `ninja docs` has made them.
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/man/man3
  DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT development OPTIONAL)
