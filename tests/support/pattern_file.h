// Whether a piece of a test writes a new pattern file.
#pragma once
#include <filesystem>
#include <string>

#include "tests/support/demo_camera.h"

template <typename Act> bool BuildsAPattern(const Act& act)
{
    const std::string pattern = DemoFolder() + "wave.bin";
    std::filesystem::remove(pattern);
    act();
    return std::filesystem::exists(pattern);
}
