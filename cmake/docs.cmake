# The reference of the public headers, in reference/html of the build folder: the target `docs`.
find_program(QVN_DOXYGEN doxygen)
if(QVN_DOXYGEN)
  configure_file(${PROJECT_SOURCE_DIR}/share/doxygen/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
  add_custom_target(docs
    COMMAND ${QVN_DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
    COMMENT "Writing the reference to ${PROJECT_BINARY_DIR}/reference/html"
    VERBATIM)
endif()
