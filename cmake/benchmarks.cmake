# Each measured against its physical limit, in one run.
find_package(benchmark REQUIRED)
file(GLOB QVN_BENCHMARK_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/benchmarks/*.cpp)
if(QVN_BENCHMARK_SOURCES)
  add_executable(qvn_benchmarks ${QVN_BENCHMARK_SOURCES})
  target_link_libraries(qvn_benchmarks PRIVATE qvn_options qvn_objects qvn_emulator
    qvn_test_support benchmark::benchmark)
endif()
