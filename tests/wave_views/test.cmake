# Runs the program on pattern files: those that are written here byte by byte, and
# those of builders.
if(NOT QVN_TOOLS)
  return()
endif()

add_executable(test_wave_views ${sources} ${PROJECT_SOURCE_DIR}/tests/tools/support.cpp
  ${PROJECT_SOURCE_DIR}/tests/tools/read_back.cpp ${PROJECT_SOURCE_DIR}/tests/support/lsan.cpp)
target_link_libraries(test_wave_views PRIVATE qvn_test_support qvn_objects qvn_emulator
  qvn_options PkgConfig::CFITSIO PkgConfig::LIBPNG PkgConfig::LIBTIFF GTest::gtest
  GTest::gtest_main)
target_compile_definitions(test_wave_views PRIVATE QVN_BINARY_DIR="${PROJECT_BINARY_DIR}"
  QVN_TEST_SKY="${QVN_TEST_SKY}" QVN_CAMERA_SPY="")
add_dependencies(test_wave_views qvn_program qvn_test_sky)
gtest_discover_tests(test_wave_views DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
