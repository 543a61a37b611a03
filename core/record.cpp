#include "core/record.h"

#include <cstdio>

// Zero when the library is loaded, ahead of the code that fills the slots.
constinit CameraRecord CameraTable[CameraCount] = {};

int32_t LibraryReady;
char LibraryPath[PathRoom + 1];
int32_t EepromWiring;

void ComposeLibraryFile(char* path, const char* name)
{
    snprintf(path, FileNameRoom, "%s%s", LibraryPath, name);
}
