// The first plane of a FITS picture, of any kind of pixels.
#pragma once
#include <cstdio>
#include <string>

#include "tools/scene_file.h"

// From the start of the file. False with `error`; nothing that the file says is trusted.
bool ReadFitsScene(FILE* file, Scene* scene, std::string* error);
