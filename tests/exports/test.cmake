# Looks at libqvn.so, libqvn_bench.so and libqvn_supervisor.so from outside, as a host does: nothing of
# the library is linked in.
add_library(exports_header_c OBJECT ${PROJECT_SOURCE_DIR}/tests/exports/header_c99.c)
set_target_properties(exports_header_c PROPERTIES C_STANDARD 99 C_EXTENSIONS OFF)
add_library(exports_header_cpp OBJECT ${PROJECT_SOURCE_DIR}/tests/exports/header_cpp11.cpp)
set_target_properties(exports_header_cpp PROPERTIES CXX_STANDARD 11 CXX_EXTENSIONS OFF)
foreach(half exports_header_c exports_header_cpp)
  target_link_libraries(${half} PRIVATE qvn_options)
  target_include_directories(${half} PRIVATE ${PROJECT_SOURCE_DIR}/include)
endforeach()

file(GLOB QVN_EXPORTS_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/exports/*_test.cpp
  ${PROJECT_SOURCE_DIR}/tests/exports/listing.cpp)
add_executable(test_exports ${QVN_EXPORTS_SOURCES})
target_link_libraries(test_exports PRIVATE qvn_options exports_header_c exports_header_cpp
  GTest::gtest GTest::gtest_main ${CMAKE_DL_LIBS})
target_compile_definitions(test_exports PRIVATE
  QVN_SOURCE_DIR="${PROJECT_SOURCE_DIR}" QVN_BINARY_DIR="${PROJECT_BINARY_DIR}"
  QVN_NM="${CMAKE_NM}" QVN_READELF="${CMAKE_READELF}")
add_dependencies(test_exports qvn qvn_bench qvn_supervisor)
gtest_discover_tests(test_exports DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
