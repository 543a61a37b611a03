# libftdi1 and libusb as they are, on a USB that umockdev makes up. The program
# starts itself again under umockdev's library, and under the sanitizer's before it.
pkg_check_modules(UMOCKDEV IMPORTED_TARGET umockdev-1.0)
if(NOT LIBFTDI_FOUND OR NOT UMOCKDEV_FOUND)
  message(STATUS "The tests of native USB are left out: they need libftdi1 and umockdev")
  return()
endif()
file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
add_executable(test_native_usb ${sources} ${PROJECT_SOURCE_DIR}/tests/support/lsan.cpp)
target_link_libraries(test_native_usb PRIVATE qvn_options qvn_objects GTest::gtest
  PkgConfig::UMOCKDEV)
target_compile_options(test_native_usb PRIVATE ${QVN_TEST_OPTIONS})
set(preloads "libumockdev-preload.so.0")
if(QVN_SANITIZE MATCHES "address" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libasan.so
    OUTPUT_VARIABLE sanitizer OUTPUT_STRIP_TRAILING_WHITESPACE)
  string(PREPEND preloads "${sanitizer}:")
endif()
target_compile_definitions(test_native_usb PRIVATE QVN_PRELOADS="${preloads}")
gtest_discover_tests(test_native_usb DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
