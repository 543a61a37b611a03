# What `cmake --install` puts in place, in three components: `runtime`, what a host needs;
# `program`, the program qvn with its pages; `development`, what a host is built with.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The libraries that a host links, each beside its header, and what it is.
set(QVN_LIBRARIES qvn qvn_bench)
set(qvn_TELLS "control of cooled CCD cameras")
set(qvn_bench_TELLS "the same with virtual cameras and a workbench for clock patterns")
if(TARGET qvn_supervisor)
  list(APPEND QVN_LIBRARIES qvn_supervisor)
  set(qvn_supervisor_TELLS "cameras that never hang their host, on top of libqvn")
  set(qvn_supervisor_REQUIRES qvn)
  set_target_properties(qvn_supervisor PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()

set(QVN_PACKAGE_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/qvn)
file(RELATIVE_PATH QVN_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(library IN LISTS QVN_LIBRARIES)
  string(REPLACE "qvn_" "" name ${library})
  set_target_properties(${library} PROPERTIES EXPORT_NAME ${name})
  install(TARGETS ${library} EXPORT qvnTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/include/${library}.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
  set(QVN_PC_NAME ${library})
  set(QVN_PC_TELLS ${${library}_TELLS})
  set(QVN_PC_REQUIRES ${${library}_REQUIRES})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/qvn.pc.in ${PROJECT_BINARY_DIR}/${library}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

install(EXPORT qvnTargets NAMESPACE qvn:: DESTINATION ${QVN_PACKAGE_FOLDER} COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qvnConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/qvnConfig.cmake
  ${PROJECT_BINARY_DIR}/qvnConfigVersion.cmake
  DESTINATION ${QVN_PACKAGE_FOLDER} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/examples/first_frame.c
  ${PROJECT_SOURCE_DIR}/examples/first_frame.cpp ${PROJECT_SOURCE_DIR}/examples/cooling.c
  ${PROJECT_SOURCE_DIR}/examples/virtual_camera.c
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libqvn-dev/examples COMPONENT development)

# The rights to USB cameras (docs/usb.md).
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  install(FILES ${PROJECT_SOURCE_DIR}/share/udev/70-qvn.rules
    DESTINATION lib/udev/rules.d COMPONENT runtime)
endif()

foreach(standin ftd2xx kzbusb)
  install(TARGETS standin_${standin} DESTINATION ${CMAKE_INSTALL_LIBDIR}/qvn/standin
    COMPONENT program)
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/share/standin/cameras.cfg
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/qvn/standin COMPONENT program)

if(TARGET qvn_program)
  # Found beside the program, wherever the whole was put.
  file(RELATIVE_PATH QVN_BIN_TO_LIB /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(qvn_program PROPERTIES INSTALL_RPATH "$ORIGIN/${QVN_BIN_TO_LIB}")
  install(TARGETS qvn_program DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
endif()
install(FILES ${QVN_SHARE}/qvn.cfg ${QVN_SHARE}/camera.cfg
  DESTINATION ${CMAKE_INSTALL_DATADIR}/qvn COMPONENT program)
install(FILES ${PROJECT_SOURCE_DIR}/share/man/qvn.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
install(FILES ${PROJECT_SOURCE_DIR}/share/man/qvn.cfg.5 ${PROJECT_SOURCE_DIR}/share/man/camera.cfg.5
  ${PROJECT_SOURCE_DIR}/share/man/wave.bin.5
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT program)
install(FILES ${PROJECT_SOURCE_DIR}/share/bash-completion/qvn
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT program)
