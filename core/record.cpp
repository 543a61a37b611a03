#include "core/record.h"

#include <cstdio>

CameraRecord CameraTable[CameraCount];

int32_t LibraryReady;
char LibraryPath[PathRoom + 1];
int32_t EepromWiring;

void ComposeLibraryFile(char* path, const char* name)
{
    snprintf(path, FileNameRoom, "%s%s", LibraryPath, name);
}
