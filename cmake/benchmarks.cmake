# Each measured against its physical limit, in one run: a program a source, which
# prints its table.
find_package(benchmark REQUIRED)
file(GLOB QVN_BENCHMARK_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/benchmarks/*.cpp)
foreach(source ${QVN_BENCHMARK_SOURCES})
  get_filename_component(name ${source} NAME_WE)
  add_executable(bench_${name} ${source})
  target_link_libraries(bench_${name} PRIVATE qvn_options qvn_objects qvn_emulator
    qvn_test_support benchmark::benchmark)
endforeach()
