# Fuzzers, with clang: one program a source in tests/fuzz. Each is run as
#   fuzz_X -max_total_time=60 -detect_leaks=0 -dict=tests/fuzz/config.dict FOLDER tests/fuzz/seeds/X
# and keeps what it finds in FOLDER. Leaks are looked for at its end only.
file(GLOB QVN_FUZZERS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/fuzz/*.cpp)
foreach(source ${QVN_FUZZERS})
  get_filename_component(name ${source} NAME_WE)
  add_executable(fuzz_${name} ${source} ${PROJECT_SOURCE_DIR}/tests/support/lsan.cpp)
  target_link_libraries(fuzz_${name} PRIVATE qvn_options qvn_objects)
  target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
endforeach()
