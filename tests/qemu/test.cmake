# The programs that scripts/qemu runs inside a virtual machine: the native seam
# and its tests, and a port library. Not among the tests of the build machine.
file(GLOB QVN_GUEST_SEAM CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/platform/linux/*.cpp)
add_executable(qemu_guest EXCLUDE_FROM_ALL ${folder}/card_test.cpp ${folder}/ports_test.cpp
  ${PROJECT_SOURCE_DIR}/tests/native/nobody.cpp
  ${PROJECT_SOURCE_DIR}/platform/posix.cpp ${PROJECT_SOURCE_DIR}/platform/system.cpp
  ${PROJECT_SOURCE_DIR}/platform/absent.cpp ${PROJECT_SOURCE_DIR}/platform/usb.cpp
  ${PROJECT_SOURCE_DIR}/platform/usb_vendor.cpp ${QVN_GUEST_SEAM})
target_link_libraries(qemu_guest PRIVATE qvn_options GTest::gtest GTest::gtest_main
  Threads::Threads ${CMAKE_DL_LIBS})

# What a host program sees: the shared library alone.
add_executable(qemu_open EXCLUDE_FROM_ALL ${folder}/open_test.cpp
  ${PROJECT_SOURCE_DIR}/tests/native/nobody.cpp)
target_link_libraries(qemu_open PRIVATE qvn_options qvn GTest::gtest GTest::gtest_main)

add_library(qemu_io SHARED EXCLUDE_FROM_ALL ${folder}/io_library.cpp)
set_target_properties(qemu_io PROPERTIES OUTPUT_NAME io)
target_link_libraries(qemu_io PRIVATE qvn_options)
add_custom_target(qemu_programs DEPENDS qemu_guest qemu_open qemu_io)
