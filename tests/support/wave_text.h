// Pattern files as text: a small sensor in record 0, a builder's run on it, and
// the sections of the file in the order in which the camera plays them. The file
// is read here from its format alone, without the library's reader.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/record.h"
#include "sequencer/builders/builders.h"

// What a test changes of the small sensor. With the tick of 0.5 microseconds the
// period of 5 is 10 ticks and the idle time 20; with the tick of 0.7 they are 7
// (5 / 0.7 = 7.1) and 14 (10 / 0.7 = 14.3).
struct WaveSensor {
    int32_t platform = 44;
    int32_t sensor = 255;
    double tick = 0.5;          // SamplingClock[0], microseconds
    uint16_t period = 5;        // VerticalPhasePeriod, microseconds
    int16_t dummyColumns = 2;   // HorDummyPix
    int16_t registerSize = 12;  // HorRegSize
    int16_t xpix = 8, ypix = 8; // Xpix, Ypix
    uint8_t alternatePolarity = 0;
};

// Makes record 0 a camera with this sensor, callbacks that record, and 1 to 12 in
// SequenceTable.
void FitWaveSensor(const WaveSensor& sensor);

// One build: the arguments of a builder that matter to it.
struct WaveWindow {
    uint32_t x = 0;
    uint32_t width = 8;
    uint32_t hbin = 1;
    int32_t vbin = 1;
    uint32_t extraCount = 0;
};

// The sections, in the order of the file's header.
enum WaveSection { IdleSection, RowSection, PixelSection, LineSection, ExtraA, ExtraB };
inline constexpr int WaveSections = 6;

struct WaveContents {
    std::string problem; // why the file is none; empty for a good one
    uint32_t wordCount = 0;
    uint32_t byteWords = 0;
    uint16_t start[WaveSections] = {};
    uint16_t end[WaveSections] = {};
    std::vector<uint32_t> words;
};

WaveContents ReadWaveFile(const std::string& path);

// The words of a section in playing order, equal neighbours folded, as the file
// holds them: "72x10 136x10 8". A file that is none gives its problem.
std::string Steps(const std::string& path, WaveSection section);

// The words behind a section up to the next page, folded; empty if there are none.
std::string Padding(const std::string& path, WaveSection section);

// `steps` with equal neighbours folded and steps of 0 ticks left out, so that an
// expectation can be put together from the lines of a table.
std::string Folded(const std::string& steps);

// `steps` `count` times, with blanks between.
std::string Times(uint32_t count, const std::string& steps);

struct WaveReport { // one call of ProgressCallback
    bool hasText;
    std::string text;
    int32_t percent;
    int32_t camera;
};
extern std::vector<WaveReport> WaveReports;

std::vector<uint8_t> FileBytes(const std::string& path);

// Every test has a folder and begins with the small sensor; it ends without a
// live block.
class WaveTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Runs the builder on record 0 and returns LastError.
    int32_t Build(WaveBuilder* builder, const WaveWindow& window);

    std::string Idle() const { return Steps(path, IdleSection); }
    std::string Row() const { return Steps(path, RowSection); }
    std::string Line() const { return Steps(path, LineSection); }
    std::string Pixel() const { return Steps(path, PixelSection); }
    uint32_t LineLength() const; // in words, without padding
    size_t FileSize() const { return FileBytes(path).size(); }

    CameraRecord& record = CameraTable[0];
    std::string folder;
    std::string path; // wave.bin in the folder
};
