# Small host programs: they include qvn.h, link libqvn.so, and know nothing else; or qvn_bench.h
# and libqvn_bench.so in their place.
add_executable(example_first_frame ${PROJECT_SOURCE_DIR}/examples/first_frame.c)
add_executable(example_first_frame_cpp ${PROJECT_SOURCE_DIR}/examples/first_frame.cpp)
add_executable(example_cooling ${PROJECT_SOURCE_DIR}/examples/cooling.c)
add_executable(example_virtual_camera ${PROJECT_SOURCE_DIR}/examples/virtual_camera.c)
target_link_libraries(example_virtual_camera PRIVATE qvn_bench)
foreach(example first_frame first_frame_cpp cooling)
  target_link_libraries(example_${example} PRIVATE qvn)
endforeach()
foreach(example first_frame first_frame_cpp cooling virtual_camera)
  target_link_libraries(example_${example} PRIVATE qvn_options)
  set_target_properties(example_${example} PROPERTIES
    OUTPUT_NAME ${example} RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/examples
    C_STANDARD 99 C_EXTENSIONS OFF CXX_STANDARD 11 CXX_EXTENSIONS OFF)
endforeach()
