# What `cmake --install` lays down, for CMake's find_package, for pkg-config and for distributions' packages.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS ambielf EXPORT ambielfTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/ambielf DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

# find_package(ambielf CONFIG)
set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/ambielf)
configure_package_config_file(cmake/ambielfConfig.cmake.in ${PROJECT_BINARY_DIR}/ambielfConfig.cmake
  INSTALL_DESTINATION ${config_folder} NO_SET_AND_CHECK_MACRO)
# Below 1.0 a new minor version may break programs.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ambielfConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(EXPORT ambielfTargets NAMESPACE ambielf:: DESTINATION ${config_folder} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/ambielfConfig.cmake ${PROJECT_BINARY_DIR}/ambielfConfigVersion.cmake
  DESTINATION ${config_folder} COMPONENT development)

# pkg-config. The prefix is found from the place of the .pc file, so that an installation can be moved; a library folder
# that is absolute can't be. In /usr the prefix is written out: the tools know the system's own folders by that name, and
# leave out the options for them. The prefix is known when the file is installed.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(movable_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH way_up /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  string(REGEX REPLACE "/$" "" way_up ${way_up})
  set(movable_prefix "\${pcfiledir}/${way_up}")
endif()
cmake_path(APPEND pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND pc_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
if(NOT AMBIELF_SHARED)  # programs in C that link the static library need the C++ library beside it
  list(TRANSFORM cxx_runtime PREPEND " -l" OUTPUT_VARIABLE pc_libs)
  list(JOIN pc_libs "" pc_libs)
  set(pc_cflags " -DAMBIELF_STATIC")
endif()
set(pc_prefix ${movable_prefix})
configure_file(cmake/ambielf.pc.in ${PROJECT_BINARY_DIR}/pkgconfig/movable/ambielf.pc @ONLY)
set(pc_prefix /usr)
configure_file(cmake/ambielf.pc.in ${PROJECT_BINARY_DIR}/pkgconfig/usr/ambielf.pc @ONLY)
install(CODE "
  set(kind movable)
  if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
    set(kind usr)
  endif()
  cmake_path(APPEND destination \"\${CMAKE_INSTALL_PREFIX}\" \"${CMAKE_INSTALL_LIBDIR}/pkgconfig\")
  file(INSTALL \"${PROJECT_BINARY_DIR}/pkgconfig/\${kind}/ambielf.pc\" DESTINATION \"\${destination}\")"
  COMPONENT development)
