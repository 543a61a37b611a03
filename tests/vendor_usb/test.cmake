# The vendor's library as four made-up ones, each in a folder of its own. The program
# finds the whole one by its own run path.
set(vendor_folders ${PROJECT_BINARY_DIR}/vendor_usb)
set(vendor_full)
set(vendor_without_reset_port WITHOUT_RESET_PORT)
set(vendor_without_both WITHOUT_RESET_PORT WITHOUT_CYCLE_PORT)
set(vendor_without_read WITHOUT_READ)
file(GLOB sources CONFIGURE_DEPENDS ${folder}/*_test.cpp)
add_executable(test_vendor_usb ${sources} ${PROJECT_SOURCE_DIR}/tests/support/lsan.cpp)
foreach(edition full without_reset_port without_both without_read)
  add_library(vendor_${edition} SHARED ${folder}/vendor_library.cpp)
  target_link_libraries(vendor_${edition} PRIVATE qvn_options)
  target_compile_definitions(vendor_${edition} PRIVATE ${vendor_${edition}})
  set_target_properties(vendor_${edition} PROPERTIES OUTPUT_NAME ftd2xx
    LIBRARY_OUTPUT_DIRECTORY ${vendor_folders}/${edition})
  add_dependencies(test_vendor_usb vendor_${edition})
endforeach()
target_link_libraries(test_vendor_usb PRIVATE qvn_options qvn_objects GTest::gtest
  GTest::gtest_main)
target_compile_options(test_vendor_usb PRIVATE ${QVN_TEST_OPTIONS})
target_compile_definitions(test_vendor_usb PRIVATE QVN_VENDOR_FOLDERS="${vendor_folders}")
set_target_properties(test_vendor_usb PROPERTIES BUILD_RPATH ${vendor_folders}/full)
gtest_discover_tests(test_vendor_usb DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
