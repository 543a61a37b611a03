# Runs the program itself, and reads its files back through the libraries that
# other readers use.
if(NOT QVN_TOOLS)
  return()
endif()

# The sample files, made once for all tests.
set(QVN_TEST_SKY ${PROJECT_BINARY_DIR}/test_sky)
add_custom_command(OUTPUT ${QVN_TEST_SKY}/starfield.raw
  COMMAND qvn_program init ${QVN_TEST_SKY} --force
  DEPENDS qvn_program
  COMMENT "Making the sample files of the program's tests"
  VERBATIM)
add_custom_target(qvn_test_sky DEPENDS ${QVN_TEST_SKY}/starfield.raw)

add_executable(test_tools ${sources})
target_link_libraries(test_tools PRIVATE qvn_options PkgConfig::CFITSIO PkgConfig::LIBPNG
  PkgConfig::LIBTIFF GTest::gtest GTest::gtest_main)
# Loaded ahead of the library, and so built without its instruments.
add_library(qvn_camera_spy MODULE ${PROJECT_SOURCE_DIR}/tests/tools/spy/camera_spy.cpp)
target_include_directories(qvn_camera_spy PRIVATE ${PROJECT_SOURCE_DIR})
target_compile_options(qvn_camera_spy PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
target_link_libraries(qvn_camera_spy PRIVATE ${CMAKE_DL_LIBS})

target_compile_definitions(test_tools PRIVATE QVN_BINARY_DIR="${PROJECT_BINARY_DIR}"
  QVN_TEST_SKY="${QVN_TEST_SKY}" QVN_CAMERA_SPY="$<TARGET_FILE:qvn_camera_spy>")
add_dependencies(test_tools qvn_program qvn_test_sky qvn_camera_spy)
gtest_discover_tests(test_tools DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
