// DEMO (platform 1): a camera made of software.
#pragma once
#include <cstdint>

#include "core/binding.h"

extern const BindingRule DemoRules[];

// Releases the camera's source image.
void DemoClose(int32_t camera);
