# Benchmarks: bench/*.cpp form one Google Benchmark program over all of the library's code.
file(GLOB bench_sources CONFIGURE_DEPENDS bench/*.cpp)
find_package(benchmark QUIET)
if(bench_sources AND benchmark_FOUND)
  add_executable(ambielf_bench ${bench_sources})
  ambielf_own_target(ambielf_bench)
  target_link_libraries(ambielf_bench PRIVATE ambielf_core benchmark::benchmark_main)
  if(TARGET ambielf_test_support_objects)  # the builders of inputs
    target_link_libraries(ambielf_bench PRIVATE ambielf_test_support_objects)
  endif()
endif()
