// A library as freshly loaded, in the virtual world, with a folder of its own
// that holds small sample definitions and a raw image with known pixels.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "include/qvn.h"

inline constexpr int32_t DemoPlatform = 1;
inline constexpr int32_t DriverlessPlatform = 10; // Tarn_I: a name, a definition, no driver

// The sensors of the sample definitions, all with Dummy 3, 2, 1, 4.
inline constexpr int32_t SmallSensor = 255;  // kaf400e, 24 by 16, the raw image's own size
inline constexpr int32_t OddSensor = 120;    // ccd30-11, 21 by 13
inline constexpr int32_t TallSensor = 275;   // kaf1600, 8 by 200
inline constexpr int32_t AbsentSensor = 122; // in the catalogue, not in the file

inline constexpr int32_t DemoFileColumns = 24;
inline constexpr int32_t DemoFileRows = 16;

// The raw image's pixel: 1 to 1524, and unlike any other of the image.
inline uint16_t DemoFilePixel(int32_t column, int32_t row)
{
    return static_cast<uint16_t>(100 * row + column + 1);
}

// Ends every camera and every timer, empties the camera table and the virtual
// world, and initialises the library as its load does.
void ResetLibrary();

// The same with the clock, timer and files of the operating system.
void ResetLibraryInRealTime();

// Releases what closed and open records still hold: images and internal buffers.
void ReleaseEverything();

// Makes the folder with all sample files and points LibraryPath at it; the name
// ends in a slash.
const std::string& MakeDemoFolder();
void RemoveDemoFolder();
const std::string& DemoFolder();

std::string SampleDefinitions(); // the text of qvn.cfg
void WriteDefinitions(const std::string& text);
void RemoveDefinitions();

// Writes `name` in the folder.
void WriteDemoFile(const std::string& name, const std::string& content);

// `text` with the first `from` made `to`; a test fails if there is none.
std::string Replaced(std::string text, const std::string& from, const std::string& to);

// Opens the simulated camera with the recording callbacks below.
void OpenDemo(int32_t camera, uint32_t options, int32_t sensor = SmallSensor);

struct ProgressReport {
    bool hasText;
    std::string text;
    int32_t percent;
    int32_t camera;
    uint64_t microseconds;
};

struct ExposureReport {
    std::string text;
    int32_t camera;
    uint64_t microseconds;
};

extern std::vector<ProgressReport> ProgressReports;
extern std::vector<ExposureReport> ExposureReports;
void RecordProgress(const char* text, int32_t percent, int32_t camera);
void RecordExposure(const char* text, int32_t camera);

// Every test begins with a fresh library and ends without a live block.
class DemoTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};
