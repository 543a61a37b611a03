# `cpack -G DEB` in build-package/: the packages from the components of install.cmake. What
# each is for, and why they are cut so, stands in docs/packaging.md.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qvn)
set(CPACK_PACKAGE_CONTACT "qvn maintainers <maintainers@qvn.invalid>" CACHE STRING
  "Maintainer of the packages")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime program development)
if(QVN_PYTHON_INSTALL)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SOURCE qvn)

# Dependencies come from the programs and libraries themselves; those among the packages
# are on the very version, since they share tables that are no interface.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_PROGRAM_DEPENDS runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libqvn7)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"control of cooled CCD cameras, shared libraries
libqvn.so.7 drives up to eight cooled scientific CCD cameras at once, on an
interface card, on ports and on USB: frames, windows and series of 16-bit
pixels, temperature, shutter, gain, binning and filter wheels.

libqvn_bench.so.7 is the same library with virtual cameras in place of real
ones; libqvn_supervisor.so.7 gives a host calls that never hang.

The rule for udev lets whoever sits at the machine open USB cameras.")
configure_file(${PROJECT_SOURCE_DIR}/share/debian/shlibs.in ${PROJECT_BINARY_DIR}/shlibs @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/share/debian/runtime/postinst ${PROJECT_SOURCE_DIR}/share/debian/runtime/postrm
  ${PROJECT_SOURCE_DIR}/share/debian/runtime/triggers ${PROJECT_BINARY_DIR}/shlibs)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME qvn)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION science)
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
"take frames with cooled CCD cameras, real or simulated
The program qvn opens a camera, takes frames and writes them as FITS, PNG,
TIFF or raw pixels, cools it and keeps the course of the temperature, and
builds, plays and draws the clock patterns that such cameras are given.
A simulated camera and virtual ones need no hardware.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqvn-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"control of cooled CCD cameras, files for building hosts
Headers of libqvn, libqvn_bench and libqvn_supervisor, files for pkg-config
and CMake, and small host programs in C and C++.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-qvn)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3:any, python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-astropy")
set(CPACK_COMPONENT_PYTHON_DEPENDS runtime program)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
"control of cooled CCD cameras from Python
Frames of the cameras of libqvn as arrays of numpy, with their metadata;
exposures that do not block, series, cooling, filter wheels, clock patterns,
and virtual cameras.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/share/debian/python/postinst
  ${PROJECT_SOURCE_DIR}/share/debian/python/prerm)

# Change logs and compressed pages, as Debian wants them.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package_stage.cmake)
set(CPACK_QVN_SOURCE_DIR ${PROJECT_SOURCE_DIR})
include(CPack)
