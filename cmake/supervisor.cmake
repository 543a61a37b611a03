# libqvn_supervisor.so: a layer over the exported functions that does not hang. It is linked
# with libqvn.so; a host that loads libqvn_bench.so ahead of it gets that one's functions.
file(GLOB QVN_SUPERVISOR_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/supervisor/*.cpp)
add_library(qvn_supervisor_objects OBJECT ${QVN_SUPERVISOR_SOURCES})
target_compile_options(qvn_supervisor_objects PRIVATE -fvisibility=hidden)
target_compile_definitions(qvn_supervisor_objects PRIVATE QVNS_BUILD)
set_target_properties(qvn_supervisor_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_link_libraries(qvn_supervisor_objects PRIVATE qvn_options PUBLIC Threads::Threads)

add_library(qvn_supervisor SHARED)
target_link_libraries(qvn_supervisor PRIVATE qvn_supervisor_objects qvn_options PUBLIC qvn)
qvn_shared_library(qvn_supervisor ${PROJECT_SOURCE_DIR}/cmake/supervisor.map)
