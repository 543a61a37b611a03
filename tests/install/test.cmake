# What `cmake --install` gives a system, looked at from outside: by programs that are built with
# it alone, with a shell's completion, and page by page. Not with sanitizers, which such
# programs would have to have too.
if(QVN_SANITIZE OR NOT TARGET qvn_program)
  return()
endif()
add_executable(test_install ${sources} ${PROJECT_SOURCE_DIR}/tests/support/shell.cpp
  ${PROJECT_SOURCE_DIR}/tests/support/temp_folder.cpp)
target_link_libraries(test_install PRIVATE qvn_options GTest::gtest GTest::gtest_main)
target_compile_options(test_install PRIVATE ${QVN_TEST_OPTIONS})
target_compile_definitions(test_install PRIVATE
  QVN_SOURCE_DIR="${PROJECT_SOURCE_DIR}" QVN_BINARY_DIR="${PROJECT_BINARY_DIR}"
  QVN_LIBDIR="${CMAKE_INSTALL_LIBDIR}" QVN_CMAKE="${CMAKE_COMMAND}" QVN_NM="${CMAKE_NM}"
  QVN_CC="${CMAKE_C_COMPILER}" QVN_GENERATOR="${CMAKE_GENERATOR}")
add_dependencies(test_install qvn_program standin_ftd2xx standin_kzbusb ${QVN_LIBRARIES})
gtest_discover_tests(test_install DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
