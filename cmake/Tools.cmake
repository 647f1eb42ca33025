# tools/: the command `ambielf`, a file for each of its commands. Its arguments are parsed by CLI11, a header-only
# library (Debian's libcli11-dev); without it the tool is left out.
if(CMAKE_CROSSCOMPILING)  # other systems' headers have none, and the package's serve every system
  set(AMBIELF_CLI11_INCLUDE /usr/include CACHE PATH "The folder with CLI11's headers, for a cross build")
  if(EXISTS ${AMBIELF_CLI11_INCLUDE}/CLI/CLI.hpp)
    # In a folder of their own, so that no other header of this system is found beside them.
    file(COPY ${AMBIELF_CLI11_INCLUDE}/CLI DESTINATION ${PROJECT_BINARY_DIR}/cli11)
    add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
    target_include_directories(CLI11::CLI11 INTERFACE ${PROJECT_BINARY_DIR}/cli11)
  endif()
else()
  find_package(CLI11 CONFIG QUIET)
endif()
if(NOT TARGET CLI11::CLI11)
  message(STATUS "The command ambielf is left out: CLI11 was not found (Debian: libcli11-dev)")
  return()
endif()

file(GLOB tool_sources CONFIGURE_DEPENDS tools/*.cpp tools/*.h tools/*/*.cpp tools/*/*.h)
add_executable(ambielf_tool ${tool_sources})
ambielf_own_target(ambielf_tool)
target_link_libraries(ambielf_tool PRIVATE CLI11::CLI11)
# With a small object most of a command's time is its start, and most of that is the dynamic linker's work on the C++
# runtime. So the command holds the library and the runtime itself. Sanitizers need the shared ones.
option(AMBIELF_STATIC_TOOL "Link the library and the C++ runtime into the command ambielf, which starts faster" ON)
include(CheckLinkerFlag)
check_linker_flag(CXX "-static-libstdc++;-static-libgcc" has_static_runtime)
if(AMBIELF_STATIC_TOOL AND has_static_runtime AND NOT WIN32 AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  target_link_libraries(ambielf_tool PRIVATE ambielf_core)
  target_link_options(ambielf_tool PRIVATE -static-libstdc++ -static-libgcc)
else()
  target_link_libraries(ambielf_tool PRIVATE ambielf::ambielf)
endif()
target_include_directories(ambielf_tool PRIVATE ${PROJECT_SOURCE_DIR}/tools)
set_target_properties(ambielf_tool PROPERTIES
  OUTPUT_NAME ambielf RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tools
  BUILD_RPATH_USE_ORIGIN ON)  # so that the program does not depend on where it was built
# A Windows program looks for its DLLs in its own folder.
if(WIN32 AND AMBIELF_SHARED)
  add_custom_command(TARGET ambielf_tool POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:ambielf> ${PROJECT_BINARY_DIR}/tools)
endif()

if(AMBIELF_INSTALL)
  include(GNUInstallDirs)
  # Outside the system's own folders the command finds the library by its place beside it.
  if(NOT WIN32 AND NOT CMAKE_INSTALL_FULL_LIBDIR IN_LIST CMAKE_PLATFORM_IMPLICIT_LINK_DIRECTORIES
      AND NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND NOT IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
    file(RELATIVE_PATH way_to_library /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
    set_target_properties(ambielf_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${way_to_library}")
  endif()
  install(TARGETS ambielf_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  file(GLOB tool_pages CONFIGURE_DEPENDS docs/man/*.1)
  install(FILES ${tool_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endif()
