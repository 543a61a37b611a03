# The stand-ins: the vendor's USB library and the adaptor's with virtual cameras behind
# them, for host programs that stay as they are. Each is a copy of the workbench in
# itself and shows the public names alone. Installed to a folder that no loader searches.
foreach(standin ftd2xx kzbusb)
  add_library(standin_${standin} SHARED ${PROJECT_SOURCE_DIR}/standin/${standin}.cpp
    ${PROJECT_SOURCE_DIR}/standin/world.cpp)
  target_compile_options(standin_${standin} PRIVATE -fvisibility=hidden)
  target_compile_definitions(standin_${standin} PRIVATE QVN_BUILD)
  target_link_libraries(standin_${standin} PRIVATE qvn_bench_objects qvn_objects qvn_emulator
    qvn_options)
  qvn_show_only(standin_${standin} ${PROJECT_SOURCE_DIR}/cmake/standin.map)
  set_target_properties(standin_${standin} PROPERTIES OUTPUT_NAME ${standin}
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/standin)
endforeach()
set_target_properties(standin_kzbusb PROPERTIES PREFIX "")
