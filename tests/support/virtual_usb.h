// A camera on USB or behind the adaptor, opened and read through the exported functions
// alone, and what its pixels must be. The sensor is the small one.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "emulator/wheel.h"
#include "include/qvn.h"
#include "tests/support/small_sensor.h"

inline constexpr int32_t UsbInterface = 6;

struct UsbSetup {
    int32_t platform;
    int32_t sensor;
    const char* builder = nullptr; // of platform and sensor; null: no pattern is loaded
    Strobe strobe = Strobe::Bin;
    bool variant = false; // 200: status 10 has bit 1 set
    const char* clock = "0.5";
    int32_t camera = 0;       // that opens it, which is the number of its port as well
    EmuWheelSetup wheel = {}; // none
    int32_t wheelKind = 0;    // that the host says is there
    uint16_t firmware = 0;    // 0: the usual one
};

struct UsbFrame {
    int32_t platform;
    Strobe strobe;
    int32_t hbin, vbin;
    int32_t columns, rows; // binned
    int32_t told = 0;      // bins of a line in the geometry that the camera was told
    int32_t skipBinning;   // by which the leading words of the reply are counted
    bool isWindow = false;
    int32_t x = 0, y = 0;
    int32_t shutter = 1; // 0: a dark frame
    int32_t camera = 0;
    bool isSeries = false; // no dummy lines are read or skipped
};

class VirtualUsbTest : public testing::Test {
protected:
    QvProgressCallback progress = nullptr;

    void SetUp() override;
    void TearDown() override;

    // Plugs the camera and writes the definition file for it. Its memory has a span of 1.0
    // and an offset of 0.0. So many readings of its version are wrong.
    static void Plug(const UsbSetup& setup, uint8_t badVersions = 0);
    void Open(const UsbSetup& setup, int32_t options = 0, int32_t attach = 0);

    // The full frame of a binning, and a window of 4 by 2 pixels at 1, 1.
    static UsbFrame Full(const UsbSetup& setup, int32_t hbin, int32_t vbin);
    static UsbFrame Window(const UsbSetup& setup, int32_t hbin, int32_t vbin);

    // The pixels of a frame; those that are not written stay as they were.
    static std::vector<uint16_t> Expected(const UsbFrame& frame, uint16_t fill);
    static void ExpectFrame(const UsbFrame& frame);
    void ExpectFrameAndWindow(const UsbSetup& setup, int32_t hbin, int32_t vbin);
};

bool IsOnAdaptor(int32_t platform);
void PrintTo(const UsbSetup& setup, std::ostream* out); // for parametrized tests
