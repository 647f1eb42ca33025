# Each example is one file and uses the library as any other program would. Those in guide/ are what
# docs/guide.md quotes.
file(GLOB examples CONFIGURE_DEPENDS
  RELATIVE ${PROJECT_SOURCE_DIR}/examples
  examples/*.c examples/*.cpp examples/guide/*.c examples/guide/*.cpp)
if(WIN32)
  list(FILTER examples EXCLUDE REGEX "_posix\\.")
endif()
find_package(Threads REQUIRED)
foreach(source IN LISTS examples)
  cmake_path(REMOVE_EXTENSION source LAST_ONLY OUTPUT_VARIABLE path)
  cmake_path(GET path FILENAME name)
  cmake_path(GET path PARENT_PATH folder)
  string(REPLACE "/" "_" target ${path})
  add_executable(${target} examples/${source})
  ambielf_own_target(${target})
  target_link_libraries(${target} PRIVATE ambielf::ambielf Threads::Threads)
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${name} RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/examples/${folder})
  # clang's sanitizers want their C++ runtime for the library, in programs in C too.
  if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
  endif()
endforeach()

# A Windows program looks for its DLLs in its own folder.
if(WIN32 AND AMBIELF_SHARED)
  foreach(folder examples examples/guide)
    add_custom_command(TARGET ambielf POST_BUILD
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/${folder}
      COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:ambielf> ${PROJECT_BINARY_DIR}/${folder})
  endforeach()
endif()
