# Each example is one file and uses the library as any other program would.
file(GLOB examples CONFIGURE_DEPENDS examples/*.c examples/*.cpp)
foreach(source IN LISTS examples)
  cmake_path(GET source STEM name)
  add_executable(${name} ${source})
  ambielf_own_target(${name})
  target_link_libraries(${name} PRIVATE ambielf::ambielf)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/examples)
endforeach()
