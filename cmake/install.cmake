# What a system needs besides the library: the rights to USB cameras (docs/usb.md).
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  install(FILES ${PROJECT_SOURCE_DIR}/share/udev/70-qvn.rules DESTINATION lib/udev/rules.d)
endif()
