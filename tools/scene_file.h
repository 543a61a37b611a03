// Pictures that a model of a sensor shall see, read from files.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

struct Scene {
    uint32_t width = 0, height = 0;
    std::vector<uint16_t> pixels; // row after row
};

// Reads a PNG (colours become grey, 8 bits become 16) or the first plane of a FITS image
// (values beyond 0 to 65535 stop there). False with `error`; nothing that the file says is
// trusted.
bool ReadScene(const std::string& path, Scene* scene, std::string* error);

// Whether a picture may have this size; false with `error`.
bool SceneSizeIsPossible(int64_t width, int64_t height, std::string* error);
