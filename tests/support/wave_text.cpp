#include "tests/support/wave_text.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "core/flags.h"
#include "emulator/emulator.h"

std::vector<WaveReport> WaveReports;

namespace {

constexpr size_t HeaderSize = 29;
constexpr size_t FirstPair = 5;
constexpr uint32_t Page = 256;

void RecordWaveProgress(const char* text, int32_t percent, int32_t camera)
{
    WaveReports.push_back({text != nullptr, text != nullptr ? text : "", percent, camera});
}

struct Step {
    uint64_t word;
    uint64_t ticks;
};

void Append(std::vector<Step>* steps, uint64_t word, uint64_t ticks)
{
    if (ticks == 0) return;
    if (!steps->empty() && steps->back().word == word) {
        steps->back().ticks += ticks;
    } else {
        steps->push_back({word, ticks});
    }
}

std::string Text(const std::vector<Step>& steps)
{
    std::string text;
    for (const Step& step : steps) {
        if (!text.empty()) text += ' ';
        text += std::to_string(step.word);
        if (step.ticks != 1) text += 'x' + std::to_string(step.ticks);
    }
    return text;
}

// The pairs of start and end follow the first five bytes, six of them.
void ReadHeader(const std::vector<uint8_t>& bytes, WaveContents* wave)
{
    for (size_t i = 4; i-- > 0;) wave->wordCount = wave->wordCount << 8 | bytes[i];
    wave->byteWords = bytes[4];
    for (size_t i = 0; i < WaveSections; ++i) {
        const uint8_t* pair = &bytes[FirstPair + 4 * i];
        wave->start[i] = static_cast<uint16_t>(pair[0] | pair[1] << 8);
        wave->end[i] = static_cast<uint16_t>(pair[2] | pair[3] << 8);
    }
}

std::string SectionProblem(const WaveContents& wave, WaveSection section)
{
    if (!wave.problem.empty()) return wave.problem;
    if (wave.start[section] % Page != 0) return "section does not begin on a page";
    if (size_t{wave.start[section]} + wave.end[section] >= wave.words.size()) {
        return "section ends behind the words";
    }
    return "";
}

} // namespace

void FitWaveSensor(const WaveSensor& sensor)
{
    CameraRecord& record = CameraTable[0];
    record = CameraRecord{};
    record.Ops = UnboundOps;
    record.Ops.ProgressCallback = RecordWaveProgress;
    record.PlatformCode = sensor.platform;
    record.CcdCode = sensor.sensor;
    record.AlternatePolarity = sensor.alternatePolarity;
    record.Platform.SamplingClock[0] = sensor.tick;
    record.Platform.VerticalPhasePeriod = sensor.period;
    record.Platform.TimeBase = 12.0;
    record.Ccd.HorDummyPix = sensor.dummyColumns;
    record.Ccd.HorRegSize = sensor.registerSize;
    record.Ccd.Xpix = sensor.xpix;
    record.Ccd.Ypix = sensor.ypix;
    for (int i = 0; i < 12; ++i) record.SequenceTable[i] = static_cast<uint16_t>(i + 1);
    WaveReports.clear();
}

std::vector<uint8_t> FileBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

WaveContents ReadWaveFile(const std::string& path)
{
    WaveContents wave;
    if (!std::filesystem::is_regular_file(path)) {
        wave.problem = "no file";
        return wave;
    }
    const std::vector<uint8_t> bytes = FileBytes(path);
    if (bytes.size() < HeaderSize) {
        wave.problem = "no header";
        return wave;
    }
    ReadHeader(bytes, &wave);
    const size_t wordBytes = wave.byteWords == 1 ? 1 : 2;
    if (wave.byteWords > 1) wave.problem = "neither 8 nor 16 bits";
    if (wave.wordCount % Page != 0) wave.problem = "words do not fill their last page";
    if (bytes.size() != HeaderSize + wordBytes * wave.wordCount) {
        wave.problem = "file of " + std::to_string(bytes.size()) + " bytes for " +
                       std::to_string(wave.wordCount) + " words";
        return wave;
    }
    for (size_t at = HeaderSize; at < bytes.size(); at += wordBytes) {
        const uint32_t high = wordBytes == 2 ? uint32_t{bytes[at + 1]} << 8 : 0;
        wave.words.push_back(high | bytes[at]);
    }
    return wave;
}

std::string Steps(const std::string& path, WaveSection section)
{
    const WaveContents wave = ReadWaveFile(path);
    const std::string problem = SectionProblem(wave, section);
    if (!problem.empty()) return problem;
    std::vector<Step> steps;
    for (uint32_t i = wave.end[section] + 1u; i-- > 0;) {
        Append(&steps, wave.words[wave.start[section] + i], 1);
    }
    return Text(steps);
}

std::string Padding(const std::string& path, WaveSection section)
{
    const WaveContents wave = ReadWaveFile(path);
    const std::string problem = SectionProblem(wave, section);
    if (!problem.empty()) return problem;
    std::vector<Step> steps;
    for (uint32_t i = wave.end[section] + 1u; i % Page != 0; ++i) {
        Append(&steps, wave.words[wave.start[section] + i], 1);
    }
    return Text(steps);
}

std::string Folded(const std::string& steps)
{
    std::istringstream parts(steps);
    std::vector<Step> folded;
    for (std::string part; parts >> part;) {
        const size_t cross = part.find('x');
        const uint64_t ticks = cross == std::string::npos ? 1 : std::stoull(part.substr(cross + 1));
        Append(&folded, std::stoull(part.substr(0, cross)), ticks);
    }
    return Text(folded);
}

std::string Times(uint32_t count, const std::string& steps)
{
    std::string text;
    for (uint32_t i = 0; i < count; ++i) text += (i == 0 ? "" : " ") + steps;
    return text;
}

void WaveTest::SetUp()
{
    EmuReset();
    EmuInstall();
    char name[] = "/tmp/qvn_wave_XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    folder = name;
    path = folder + "/wave.bin";
    FitWaveSensor({});
}

void WaveTest::TearDown()
{
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    if (!folder.empty()) std::filesystem::remove_all(folder);
    record = CameraRecord{};
    EmuReset();
}

int32_t WaveTest::Build(WaveBuilder* builder, const WaveWindow& window)
{
    WaveReports.clear();
    builder(path.c_str(), window.x, 0, window.width, window.hbin, window.vbin, 0, window.extraCount,
            0);
    return LoadFlag(record.LastError);
}

uint32_t WaveTest::LineLength() const
{
    return ReadWaveFile(path).end[LineSection] + 1u;
}
