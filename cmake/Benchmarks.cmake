# Benchmarks: bench/*.cpp form one Google Benchmark program over all of the library's code. scripts/bench runs it and
# compares its figures with bench/targets. If other libraries are found, the same work with them is built, too.
find_package(benchmark QUIET)
if(NOT benchmark_FOUND OR NOT TARGET ambielf_test_support OR CMAKE_CROSSCOMPILING OR WIN32)
  return()
endif()
file(GLOB bench_sources CONFIGURE_DEPENDS bench/*.cpp)
list(FILTER bench_sources EXCLUDE REGEX "/peer_")
add_executable(ambielf_bench ${bench_sources}
  tests/support/object_builder.cpp tests/support/temp_file.cpp tests/support/twins.cpp)
ambielf_own_target(ambielf_bench)
# g++ 12 has a false warning about joined strings; clang-tidy does not know the option that turns it off.
target_compile_options(ambielf_bench PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-unknown-warning-option;-Wno-restrict>)
target_include_directories(ambielf_bench PRIVATE tests)
target_link_libraries(ambielf_bench PRIVATE ambielf_core benchmark::benchmark_main GTest::gtest)
# Files are in memory, so that no disk is measured.
if(IS_DIRECTORY /dev/shm)
  target_compile_definitions(ambielf_bench PRIVATE AMBIELF_TEST_SCRATCH="/dev/shm")
else()
  target_compile_definitions(ambielf_bench PRIVATE AMBIELF_TEST_SCRATCH="${PROJECT_BINARY_DIR}/scratch")
endif()
# The command is compared with programs of binutils.
if(TARGET ambielf_tool)
  target_compile_definitions(ambielf_bench PRIVATE AMBIELF_BENCH_TOOL="$<TARGET_FILE:ambielf_tool>")
  add_dependencies(ambielf_bench ambielf_tool)
endif()

find_package(LLVM 14 CONFIG QUIET)
if(LLVM_FOUND AND TARGET LLVM)
  target_sources(ambielf_bench PRIVATE bench/peer_llvm.cpp)
  target_include_directories(ambielf_bench SYSTEM PRIVATE ${LLVM_INCLUDE_DIRS})
  target_compile_definitions(ambielf_bench PRIVATE AMBIELF_WITH_LLVM)
  target_link_libraries(ambielf_bench PRIVATE LLVM)
  set_source_files_properties(bench/peer_llvm.cpp PROPERTIES COMPILE_OPTIONS -std=c++17)  # its headers know no later one
endif()
find_library(LIEF_LIBRARY LIEF)
find_path(LIEF_INCLUDE_DIR LIEF/ELF.hpp)
if(LIEF_LIBRARY AND LIEF_INCLUDE_DIR)
  target_sources(ambielf_bench PRIVATE bench/peer_lief.cpp)
  target_include_directories(ambielf_bench SYSTEM PRIVATE ${LIEF_INCLUDE_DIR})
  target_link_libraries(ambielf_bench PRIVATE ${LIEF_LIBRARY})
endif()
