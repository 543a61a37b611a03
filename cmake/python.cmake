# The Python package qvn: its tests, and its place in an installation. Nothing is compiled.
set(QVN_PYTHON_FOLDER ${PROJECT_SOURCE_DIR}/python)
set(QVN_PYTHON_DESTINATION lib/python3/dist-packages CACHE STRING "Where the Python package goes")
option(QVN_PYTHON_INSTALL "Install the Python package" OFF)
if(QVN_PYTHON_INSTALL)
  install(DIRECTORY ${QVN_PYTHON_FOLDER}/qvn DESTINATION ${QVN_PYTHON_DESTINATION}
    COMPONENT python FILES_MATCHING PATTERN "*.py" PATTERN "py.typed"
    PATTERN "__pycache__" EXCLUDE)
endif()

# The system's own Python goes ahead of others, since Debian's numpy belongs to it. It could
# not load a library that a sanitizer is in.
find_program(QVN_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
find_program(QVN_PYTHON NAMES python3)
if(NOT QVN_TESTS OR NOT QVN_PYTHON OR QVN_SANITIZE)
  return()
endif()
file(GLOB QVN_PYTHON_TESTS CONFIGURE_DEPENDS ${QVN_PYTHON_FOLDER}/tests/test_*.py)
foreach(source ${QVN_PYTHON_TESTS})
  get_filename_component(name ${source} NAME_WE)
  string(REPLACE "test_" "" name ${name})
  add_test(NAME Python.${name}
    COMMAND ${QVN_PYTHON} ${QVN_PYTHON_FOLDER}/tests/run.py ${source}
    WORKING_DIRECTORY ${QVN_PYTHON_FOLDER})
  set_tests_properties(Python.${name} PROPERTIES TIMEOUT 600 SKIP_RETURN_CODE 77
    ENVIRONMENT "PYTHONPATH=${QVN_PYTHON_FOLDER};PYTHONDONTWRITEBYTECODE=1;PYTEST_DISABLE_PLUGIN_AUTOLOAD=1;QVN_LIBRARY_DIR=${PROJECT_BINARY_DIR}")
endforeach()
