# Run by cpack between staging and packing: what Debian wants of each package beside its files.
cmake_minimum_required(VERSION 3.25)
set(debian ${CPACK_QVN_SOURCE_DIR}/share/debian)
set(runtime_PACKAGE ${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME})
set(program_PACKAGE ${CPACK_DEBIAN_PROGRAM_PACKAGE_NAME})
set(development_PACKAGE ${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME})
set(python_PACKAGE ${CPACK_DEBIAN_PYTHON_PACKAGE_NAME})

# The date of the sources, not of the day: the same sources give the same packages.
execute_process(COMMAND git -C ${CPACK_QVN_SOURCE_DIR} log -1 --format=%aD
  OUTPUT_VARIABLE DATE OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(NOT DATE)
  string(TIMESTAMP DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
endif()
set(VERSION ${CPACK_PACKAGE_VERSION})
set(CONTACT ${CPACK_PACKAGE_CONTACT})

function(compress file)
  execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(package ${${component}_PACKAGE})
  set(stage ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
  file(COPY ${debian}/copyright DESTINATION ${stage}/doc/${package})
  configure_file(${debian}/changelog.in ${stage}/doc/${package}/changelog @ONLY)
  configure_file(${CPACK_QVN_SOURCE_DIR}/CHANGELOG.md ${stage}/doc/${package}/NEWS COPYONLY)
  compress(${stage}/doc/${package}/changelog)
  compress(${stage}/doc/${package}/NEWS)
  file(GLOB pages ${stage}/man/man*/*.[1-9])
  foreach(page IN LISTS pages)
    compress(${page})
  endforeach()
endforeach()
