# Makes a C++ source that holds files as byte arrays. Run as a script:
#   cmake -DOUTPUT=embedded.cpp -DHEADER=tools/embedded.h
#         "-DFILES=Name=path|Other=path" -P embed.cmake
# Each file becomes `extern const EmbeddedFile Name` as the header declares it.
if(NOT OUTPUT OR NOT HEADER OR NOT FILES)
  message(FATAL_ERROR "embed.cmake: OUTPUT, HEADER and FILES are needed")
endif()

string(REPEAT "[0-9a-f]" 32 row)
set(text "// Made by cmake/embed.cmake.\n#include \"${HEADER}\"\n")
string(REPLACE "|" ";" entries "${FILES}")
foreach(entry IN LISTS entries)
  if(NOT entry MATCHES "^([A-Za-z0-9_]+)=(.+)$")
    message(FATAL_ERROR "embed.cmake: \"${entry}\" is not Name=path")
  endif()
  set(name ${CMAKE_MATCH_1})
  set(path ${CMAKE_MATCH_2})
  file(SIZE ${path} size)
  file(READ ${path} digits HEX)
  # Rows of 16 bytes, so that no line of the source gets too long.
  string(REGEX REPLACE "(${row})" "\\1\n" digits "${digits}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," digits "${digits}")
  string(APPEND text "\nstatic const unsigned char ${name}Bytes[] = {\n${digits}0};\n"
    "const EmbeddedFile ${name} = {${name}Bytes, ${size}};\n")
endforeach()

file(WRITE ${OUTPUT} "${text}")
