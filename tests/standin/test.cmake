# The stand-ins as a host program meets them: it links libqvn.so and knows qvn.h alone.
add_executable(standin_host ${folder}/host.c)
target_link_libraries(standin_host PRIVATE qvn qvn_options)
set_target_properties(standin_host PROPERTIES C_STANDARD 99 C_EXTENSIONS OFF)
add_executable(test_standin ${folder}/standin_test.cpp
  ${PROJECT_SOURCE_DIR}/tests/support/shell.cpp)
target_link_libraries(test_standin PRIVATE qvn_options GTest::gtest GTest::gtest_main
  ${CMAKE_DL_LIBS})
target_compile_options(test_standin PRIVATE ${QVN_TEST_OPTIONS})
target_compile_definitions(test_standin PRIVATE
  QVN_SOURCE_DIR="${PROJECT_SOURCE_DIR}" QVN_STANDIN_HOST="$<TARGET_FILE:standin_host>"
  QVN_FTD2XX="$<TARGET_FILE:standin_ftd2xx>" QVN_KZBUSB="$<TARGET_FILE:standin_kzbusb>"
  QVN_NM="${CMAKE_NM}")
add_dependencies(test_standin standin_host standin_ftd2xx standin_kzbusb)
gtest_discover_tests(test_standin DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
