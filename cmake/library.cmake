# The library: its folders as one set of objects, and libqvn.so from them.
set(QVN_FOLDERS core catalogue sequencer acquisition devices links drivers)
set(QVN_GLOBS ${QVN_FOLDERS})
list(TRANSFORM QVN_GLOBS PREPEND ${PROJECT_SOURCE_DIR}/)
list(TRANSFORM QVN_GLOBS APPEND /*.cpp)
file(GLOB_RECURSE QVN_SOURCES CONFIGURE_DEPENDS ${QVN_GLOBS})
if(WIN32)
  list(APPEND QVN_SOURCES ${PROJECT_SOURCE_DIR}/platform/windows.cpp)
else()
  file(GLOB QVN_LINUX_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/platform/linux/*.cpp)
  list(APPEND QVN_SOURCES ${PROJECT_SOURCE_DIR}/platform/posix.cpp ${QVN_LINUX_SOURCES})
endif()
list(APPEND QVN_SOURCES ${PROJECT_SOURCE_DIR}/platform/system.cpp
                        ${PROJECT_SOURCE_DIR}/platform/absent.cpp
                        ${PROJECT_SOURCE_DIR}/platform/number_format.cpp
                        ${PROJECT_SOURCE_DIR}/platform/usb.cpp
                        ${PROJECT_SOURCE_DIR}/platform/usb_vendor.cpp)

find_package(PkgConfig REQUIRED)
pkg_check_modules(LIBCONFIG REQUIRED IMPORTED_TARGET libconfig)
# Without it USB cameras need the vendor's library; docs/usb.md.
if(QVN_LIBFTDI)
  pkg_check_modules(LIBFTDI IMPORTED_TARGET libftdi1 libusb-1.0)
endif()

add_library(qvn_objects OBJECT ${QVN_SOURCES})
target_compile_options(qvn_objects PRIVATE -fno-exceptions -fno-rtti -fvisibility=hidden)
target_compile_definitions(qvn_objects PRIVATE QVN_BUILD)
set_target_properties(qvn_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_link_libraries(qvn_objects
  PRIVATE qvn_options
  PUBLIC PkgConfig::LIBCONFIG Threads::Threads ${CMAKE_DL_LIBS})
if(LIBFTDI_FOUND)
  target_compile_definitions(qvn_objects PRIVATE QVN_LIBFTDI)
  target_link_libraries(qvn_objects PUBLIC PkgConfig::LIBFTDI)
endif()

# The simulated pixels are the same on every processor, so products are rounded
# before they are added; their loops are meant for vector instructions.
file(GLOB QVN_PIXEL_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/drivers/demo/demo_*.cpp)
set_source_files_properties(${QVN_PIXEL_SOURCES} PROPERTIES
  COMPILE_OPTIONS "-ffp-contract=off;$<$<NOT:$<CONFIG:Debug>>:-O3>")

# What a host loads: only the names of the version script can be seen.
function(qvn_show_only target script)
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX LINK_DEPENDS ${script})
  # The timer's thread runs code of the library, so a host cannot unload it.
  target_link_options(${target} PRIVATE -Wl,--version-script=${script} -Wl,-z,nodelete)
  if(NOT QVN_SANITIZE)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()

function(qvn_shared_library target script)
  set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 7)
  target_include_directories(${target} INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
  qvn_show_only(${target} ${script})
endfunction()

add_library(qvn SHARED)
target_link_libraries(qvn PRIVATE qvn_objects qvn_options)
qvn_shared_library(qvn ${PROJECT_SOURCE_DIR}/cmake/qvn.map)
