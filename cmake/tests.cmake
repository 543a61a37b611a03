# One binary a folder of tests. Tests link the objects and the emulator and so
# can look inside.
find_package(GTest REQUIRED)
# The files of the program are read back by what others read them with.
pkg_check_modules(CFITSIO REQUIRED IMPORTED_TARGET cfitsio)
include(GoogleTest)

file(GLOB QVN_SUPPORT CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/support/*.cpp)
set_source_files_properties(${PROJECT_SOURCE_DIR}/tests/support/plain_demo_frame.cpp
  PROPERTIES COMPILE_OPTIONS "-ffp-contract=off;$<$<CONFIG:RelWithDebInfo>:-O2>")
add_library(qvn_test_support STATIC ${QVN_SUPPORT})
target_link_libraries(qvn_test_support
  PUBLIC qvn_options qvn_objects qvn_emulator GTest::gtest)
# Tests are compiled once and run once: the compiler's time counts, not theirs.
set(QVN_TEST_OPTIONS $<$<CONFIG:RelWithDebInfo>:-O0> $<$<CONFIG:RelWithDebInfo>:-g1>)
target_compile_options(qvn_test_support PRIVATE ${QVN_TEST_OPTIONS})
# The headers that cost more to compile than most tests are compiled once.
target_precompile_headers(qvn_test_support PRIVATE <gtest/gtest.h> <string> <vector>)
set_source_files_properties(${PROJECT_SOURCE_DIR}/tests/support/plain_demo_frame.cpp
  PROPERTIES SKIP_PRECOMPILE_HEADERS ON)

# The tests that read files of the tree. The others are the same wherever the tree stands.
set(QVN_TREE_READERS platforms samples tidy traffic waves)

file(GLOB QVN_TEST_FOLDERS LIST_DIRECTORIES true ${PROJECT_SOURCE_DIR}/tests/*)
foreach(folder ${QVN_TEST_FOLDERS})
  get_filename_component(name ${folder} NAME)
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
  if(name STREQUAL support OR name STREQUAL fuzz OR NOT sources)
    continue()
  endif()
  # A folder whose tests look at the library from outside is built its own way.
  if(EXISTS ${folder}/test.cmake)
    include(${folder}/test.cmake)
    continue()
  endif()
  add_executable(test_${name} ${sources} ${PROJECT_SOURCE_DIR}/tests/support/lsan.cpp)
  target_link_libraries(test_${name} PRIVATE qvn_test_support qvn_objects qvn_emulator
    GTest::gtest GTest::gtest_main)
  if(name STREQUAL samples)
    target_link_libraries(test_${name} PRIVATE qvn_samples)
    target_sources(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tools/config_rules.cpp)
  endif()
  if(name STREQUAL bench OR name STREQUAL platforms)
    target_link_libraries(test_${name} PRIVATE qvn_bench_objects)
  endif()
  if(name STREQUAL supervisor)
    target_link_libraries(test_${name} PRIVATE qvn_supervisor_objects)
  endif()
  target_compile_options(test_${name} PRIVATE ${QVN_TEST_OPTIONS})
  target_precompile_headers(test_${name} REUSE_FROM qvn_test_support)
  if(name IN_LIST QVN_TREE_READERS)
    target_compile_definitions(test_${name} PRIVATE
      QVN_SOURCE_DIR="${PROJECT_SOURCE_DIR}" QVN_BINARY_DIR="${PROJECT_BINARY_DIR}")
  endif()
  gtest_discover_tests(test_${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endforeach()
