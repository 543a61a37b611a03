# The pages of docs/ against the tree, and their code blocks run as a reader would.
if(NOT QVN_TOOLS)
  return()
endif()
add_executable(test_docs ${sources} ${PROJECT_SOURCE_DIR}/tests/support/shell.cpp)
target_link_libraries(test_docs PRIVATE qvn_options GTest::gtest GTest::gtest_main)
target_compile_definitions(test_docs PRIVATE QVN_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
  QVN_BINARY_DIR="${PROJECT_BINARY_DIR}" QVN_C_COMPILER="${CMAKE_C_COMPILER}"
  QVN_CXX_COMPILER="${CMAKE_CXX_COMPILER}" QVN_SANITIZE="${QVN_SANITIZE}")
target_compile_options(test_docs PRIVATE ${QVN_TEST_OPTIONS})
add_dependencies(test_docs qvn_program qvn qvn_bench qvn_supervisor)
gtest_discover_tests(test_docs DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
