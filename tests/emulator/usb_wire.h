// A hand on the pipe of a USB camera that plays a pattern: the bytes that a driver would
// send, through the device library.
#pragma once
#include <cstdint>
#include <vector>

#include "emulator/usb_camera.h"
#include "tests/emulator/world.h"

using Bytes = std::vector<uint8_t>;
using Pixels = std::vector<uint16_t>;

// Lines of the patterns in these tests.
enum PatternLine : uint16_t { Row = 1, Shift = 2, Gate = 4, Strobe = 8 };

// Three columns behind one empty cell, two rows: 101, 102, 103 and 201, 202, 203.
inline uint32_t ThreeByTwo(uint32_t column, uint32_t row)
{
    return 100 * (row + 1) + column + 1;
}

// A line: a row, and the four cells of the register. 14 words.
inline const std::vector<uint8_t>& LineWords()
{
    static const std::vector<uint8_t> words = {0,      Row,  Gate,  Shift,  Strobe, Gate,  Shift,
                                               Strobe, Gate, Shift, Strobe, Gate,   Shift, Strobe};
    return words;
}

inline const Pixels FirstRow = {0, 101, 102, 103};
inline const Pixels SecondRow = {0, 201, 202, 203};
inline const Pixels BothRows = {0, 101, 102, 103, 0, 201, 202, 203};

inline Pixels Joined(const Bytes& bytes)
{
    Pixels pixels;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        pixels.push_back(static_cast<uint16_t>(bytes[i] | bytes[i + 1] << 8));
    }
    return pixels;
}

inline EmuUsbCamera SmallCamera(int32_t platform, uint16_t version)
{
    EmuUsbCamera setup{};
    setup.platform = platform;
    setup.sensor = 255;
    setup.version = version;
    setup.chip = {3, 2, 1, 4, ThreeByTwo};
    setup.lines = {Row, Shift, Gate, Strobe, 0, 0};
    return setup;
}
