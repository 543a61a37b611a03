# The sample files of `qvn init`: the two configuration files of share/qvn,
# embedded, and the generator of the star field. The udev rule is for `qvn doctor`.
set(QVN_EMBEDDED ${PROJECT_BINARY_DIR}/embedded_files.cpp)
set(QVN_SHARE ${PROJECT_SOURCE_DIR}/share/qvn)
set(QVN_UDEV_RULE ${PROJECT_SOURCE_DIR}/share/udev/70-qvn.rules)
add_custom_command(OUTPUT ${QVN_EMBEDDED}
  COMMAND ${CMAKE_COMMAND} -DOUTPUT=${QVN_EMBEDDED} -DHEADER=tools/embedded.h
    "-DFILES=QvnCfgFile=${QVN_SHARE}/qvn.cfg|CameraCfgFile=${QVN_SHARE}/camera.cfg|UdevRuleFile=${QVN_UDEV_RULE}"
    -P ${PROJECT_SOURCE_DIR}/cmake/embed.cmake
  DEPENDS ${QVN_SHARE}/qvn.cfg ${QVN_SHARE}/camera.cfg ${QVN_UDEV_RULE}
    ${PROJECT_SOURCE_DIR}/cmake/embed.cmake
  COMMENT "Embedding the sample files"
  VERBATIM)

set(QVN_SAMPLE_SOURCES ${PROJECT_SOURCE_DIR}/tools/sample_files.cpp)
add_library(qvn_samples STATIC ${QVN_SAMPLE_SOURCES} ${QVN_EMBEDDED})
# Of the emulator the star field and nothing else.
target_link_libraries(qvn_samples PRIVATE qvn_options PUBLIC qvn_emulator)
