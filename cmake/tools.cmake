# The program qvn. It speaks to the library through include/qvn.h and qvn_bench.h alone, and to
# cameras by themselves through include/qvn_supervisor.h. The layer is a part of the program, so
# that it calls the one library in the process, that of the workbench.
# The look at a configuration's text ahead of the parser, and the kernel's files of PCI
# devices, are the library's own sources once more.
pkg_check_modules(LIBPNG REQUIRED IMPORTED_TARGET libpng)
pkg_check_modules(LIBTIFF REQUIRED IMPORTED_TARGET libtiff-4)
find_package(CLI11 REQUIRED)

file(GLOB QVN_TOOL_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/*.cpp)
list(REMOVE_ITEM QVN_TOOL_SOURCES ${QVN_SAMPLE_SOURCES})
list(APPEND QVN_TOOL_SOURCES ${PROJECT_SOURCE_DIR}/catalogue/config_scan.cpp
                             ${PROJECT_SOURCE_DIR}/platform/linux/pci.cpp)
if(QVN_TOOL_SOURCES)
  add_executable(qvn_program ${QVN_TOOL_SOURCES})
  set_target_properties(qvn_program PROPERTIES OUTPUT_NAME qvn)
  target_link_libraries(qvn_program PRIVATE qvn_options qvn_supervisor_objects qvn_bench qvn_samples CLI11::CLI11
    PkgConfig::LIBPNG PkgConfig::LIBTIFF PkgConfig::LIBCONFIG Threads::Threads)
endif()
