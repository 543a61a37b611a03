// A bus camera at the end of its virtual link, opened and read through the exported
// functions alone, and what its pixels must be.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "emulator/wheel.h"
#include "include/qvn.h"
#include "tests/support/small_sensor.h"

// How the words of the stream become pixels.
enum class ReadRule {
    WholeFrame, // one transfer by DMA
    Lines,      // a transfer a line
    EvenLines,  // the same, and the second line does not cover the first one's end
    Pixels,     // a bus cycle a pixel
    Plain,      // the same from a sensor that clocks itself
    Counted,    // lines with four words of their own ahead of the pixels
};

struct VirtualSetup {
    int32_t platform;
    int32_t sensor;
    int32_t interfaceType;
    const char* builder;       // of platform and sensor; null: there is no pattern
    uint32_t revision = 100;   // of the card; 200: whole frames
    uint32_t decoder = 0;      // of a serial cable
    int32_t interfaceLink = 0; // as the host says of the cable; 0 with a decoder: 1
    Strobe strobe = Strobe::Bin;
    int32_t phase = 10; // of the rows, in microseconds
    int32_t camera = 0; // that opens it; each has a card of its own
    // Of the image, as the definition file says: less than the sensor has.
    int32_t columns = ImageColumns, rows = ImageRows;
    int32_t sensorRows = SensorRows;
    EmuWheelSetup wheel = {}; // none
    int32_t wheelKind = 0;    // that the host says is there
    bool objective = false;
    uint32_t (*scene)(uint32_t column, uint32_t row) = SmallScene;
};

void PrintTo(const VirtualSetup& setup, std::ostream* out); // for parametrized tests

struct VirtualFrame {
    ReadRule rule;
    Strobe strobe;
    int32_t hbin, vbin;
    int32_t columns, rows; // binned
    bool isWindow = false;
    int32_t x = 0, y = 0;
    int32_t shutter = 1; // 0: a dark frame
    int32_t camera = 0;
    bool isSeries = false; // no dummy lines are read or skipped
    int32_t sensorRows = SensorRows;
};

class VirtualCameraTest : public testing::Test {
protected:
    int32_t bus = -1;             // the camera at the far end
    std::vector<uint16_t> locked; // what the buffer for whole frames holds
    QvProgressCallback progress = nullptr;

    void SetUp() override;
    void TearDown() override;

    // Plugs the camera and writes the definition file for it; memory is empty but for a
    // span of 1.0, an offset of 0.0 and the high resistor.
    void Plug(const VirtualSetup& setup);
    static void PlugAt(const VirtualSetup& setup, int32_t* bus);
    void Open(const VirtualSetup& setup, int32_t options = 0, int32_t attach = 0);

    // The full frame of a binning, and a window of 4 by 2 pixels at 1, 1.
    static VirtualFrame Full(const VirtualSetup& setup, ReadRule rule, int32_t hbin, int32_t vbin);
    static VirtualFrame Window(const VirtualSetup& setup, ReadRule rule, int32_t hbin,
                               int32_t vbin);

    // The pixels of a frame; those that are not written stay as they were. Keeps the
    // account of `locked`.
    std::vector<uint16_t> Expected(const VirtualFrame& frame, uint16_t fill);
    static std::vector<uint16_t> ExpectedFrom(const VirtualFrame& frame, uint16_t fill,
                                              std::vector<uint16_t>* locked);
    void ExpectFrame(const VirtualFrame& frame);

    void ExpectFrameAndWindow(const VirtualSetup& setup, ReadRule rule, int32_t hbin, int32_t vbin);
    void ExpectDarkFrame(const VirtualSetup& setup, ReadRule rule);
    // Frames and windows with all binnings of 1 to 4, and a dark frame.
    void ExpectAllFrames(const VirtualSetup& setup, ReadRule rule);
    // The same of a camera from open to close.
    void ReadEverything(const VirtualSetup& setup, ReadRule rule, int32_t options = 0);
};
