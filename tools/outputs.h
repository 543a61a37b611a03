// The arguments that name output files: what is wrong with them shows before a camera is
// touched.
#pragma once
#include <string>

// Complains when it returns false; no name is fine.
bool OutputIsFine(const char* argument, const std::string& path, bool overwrite);
