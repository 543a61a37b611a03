# The virtual world behind the system seam. It knows the seam and nothing else
# of the library.
file(GLOB QVN_EMULATOR_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/emulator/*.cpp)
add_library(qvn_emulator STATIC ${QVN_EMULATOR_SOURCES})
target_link_libraries(qvn_emulator PRIVATE qvn_options PUBLIC Threads::Threads)
set_target_properties(qvn_emulator PROPERTIES POSITION_INDEPENDENT_CODE ON)
