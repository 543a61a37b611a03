// Loads io.dll into PortLibrary, once for the process.
#pragma once
#include <cstdint>

// 0, or 19.
int32_t LoadPortLibrary();
