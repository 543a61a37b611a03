# libqvn_bench.so: the library once more, with the emulator and the workbench. A host
# takes it in place of libqvn.so.
file(GLOB QVN_BENCH_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/bench/*.cpp)
add_library(qvn_bench_objects OBJECT ${QVN_BENCH_SOURCES})
target_compile_options(qvn_bench_objects PRIVATE -fvisibility=hidden)
target_compile_definitions(qvn_bench_objects PRIVATE QVN_BUILD)
set_target_properties(qvn_bench_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_link_libraries(qvn_bench_objects PRIVATE qvn_options)

add_library(qvn_bench SHARED)
target_link_libraries(qvn_bench PRIVATE qvn_bench_objects qvn_objects qvn_emulator qvn_options)
qvn_shared_library(qvn_bench ${PROJECT_SOURCE_DIR}/cmake/qvn_bench.map)
