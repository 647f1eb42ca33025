# Fuzzers: each fuzz/<subject>.cpp defines LLVMFuzzerTestOneInput. Any compiler builds fuzz_<subject>_replay, a test
# that runs it over the committed seeds in fuzz/seeds/<subject>. With AMBIELF_FUZZERS clang also builds the fuzzer itself,
# fuzz_<subject>.
file(GLOB fuzzers CONFIGURE_DEPENDS fuzz/*.cpp)
foreach(source IN LISTS fuzzers)
  cmake_path(GET source STEM subject)
  set(name fuzz_${subject})
  add_executable(${name}_replay ${source} fuzz/replay/main.cpp)
  ambielf_own_target(${name}_replay)
  target_link_libraries(${name}_replay PRIVATE ambielf_core)
  target_include_directories(${name}_replay PRIVATE tests)  # support/
  target_compile_options(${name}_replay PRIVATE ${ambielf_test_options})
  add_test(NAME fuzz/${subject} COMMAND ${name}_replay ${PROJECT_SOURCE_DIR}/fuzz/seeds/${subject})
  if(AMBIELF_FUZZERS)
    add_executable(${name} ${source})
    ambielf_own_target(${name})
    target_link_libraries(${name} PRIVATE ambielf_core)
    target_include_directories(${name} PRIVATE tests)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  endif()
endforeach()
