# Runs the example programs as a user would, on a folder that the test makes.
if(NOT TARGET example_first_frame)
  return()
endif()
add_executable(test_examples ${folder}/examples_test.cpp
  ${PROJECT_SOURCE_DIR}/tests/support/shell.cpp)
target_link_libraries(test_examples PRIVATE qvn_options GTest::gtest GTest::gtest_main)
target_compile_definitions(test_examples PRIVATE
  QVN_FIRST_FRAME_C="$<TARGET_FILE:example_first_frame>"
  QVN_FIRST_FRAME_CPP="$<TARGET_FILE:example_first_frame_cpp>"
  QVN_COOLING="$<TARGET_FILE:example_cooling>"
  QVN_VIRTUAL_CAMERA="$<TARGET_FILE:example_virtual_camera>")
add_dependencies(test_examples example_first_frame example_first_frame_cpp example_cooling
  example_virtual_camera)
gtest_discover_tests(test_examples DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
