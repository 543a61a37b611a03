# Warnings and instruments of every target: link qvn_options privately.
add_library(qvn_options INTERFACE)
target_include_directories(qvn_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(qvn_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion>
  $<$<BOOL:${QVN_WERROR}>:-Werror>)
if(QVN_SANITIZE)
  target_compile_options(qvn_options INTERFACE
    -fsanitize=${QVN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(qvn_options INTERFACE -fsanitize=${QVN_SANITIZE})
endif()
# What the tests are to reach is counted, the tests themselves are not.
if(QVN_COVERAGE)
  set(measured "qvn_objects;qvn_emulator;qvn_bench_objects;qvn_supervisor_objects;qvn_program")
  string(APPEND measured ";qvn_samples;standin_ftd2xx;standin_kzbusb")
  target_compile_options(qvn_options INTERFACE
    "$<$<IN_LIST:$<TARGET_PROPERTY:NAME>,${measured}>:--coverage;-O0>")
  target_link_options(qvn_options INTERFACE --coverage -Wl,-u,__gcov_dump)
endif()

# Sources are named from the tree's root, so that another copy of the tree finds what this
# one compiled.
find_program(QVN_CCACHE ccache)
if(QVN_CCACHE)
  set(launcher env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${QVN_CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()

find_package(Threads REQUIRED)
