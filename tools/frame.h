// One frame with all that its file tells about it: the values in force when its
// exposure began, the geometry that was delivered.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A keyword of its own kind.
struct FrameNote {
    std::string key;
    double value;
    bool isCount;
    std::string comment;
    std::string word; // in place of the value, unless it is empty
};

struct FrameRecord {
    int32_t width = 0, height = 0;
    int32_t planes = 0;                 // of a series, one behind the other; 0: a frame by itself
    std::vector<uint16_t> pixels;       // row after row, the first row read comes first;
                                        // perhaps more than the picture has
    const uint16_t* borrowed = nullptr; // in their place, where the layer keeps them

    std::string startUtc; // 2024-03-01T21:04:05.678
    bool light = true;
    double requestedSeconds = 0.0;
    double exposedSeconds = 0.0;
    bool broken = false;  // exposedSeconds is then from the host's clock
    bool missing = false; // broken off ahead of the readout: there are no pixels

    bool hasTemperature = false;
    double celsius = 0.0;
    bool cooling = false;
    double targetCelsius = 0.0;

    int32_t horBinning = 1, verBinning = 1;
    int32_t x = 0, y = 0;                           // of the window, in binned pixels
    double pixelWidthUm = 0.0, pixelHeightUm = 0.0; // unbinned; 0: not known
    int32_t gain = 0;                               // index
    std::string platform, sensor;
    std::vector<FrameNote> notes;
    std::string name; // of an extension; empty: none
};

inline size_t PixelCount(const FrameRecord& frame)
{
    const int32_t planes = frame.planes > 0 ? frame.planes : 1;
    return static_cast<size_t>(frame.width) * static_cast<size_t>(frame.height) *
           static_cast<size_t>(planes);
}

inline const uint16_t* PixelsOf(const FrameRecord& frame)
{
    return frame.borrowed != nullptr ? frame.borrowed : frame.pixels.data();
}
