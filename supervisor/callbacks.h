// What the library reports while it works for a camera. In the worker's thread, without the
// lock.
#pragma once
#include <cstdint>

void OnExposure(const char* text, int32_t camera);
void OnProgress(const char* text, int32_t percent, int32_t camera);
