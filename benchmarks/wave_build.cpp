// Patterns: how long a build takes in memory, with its file, and with the load,
// against deleting, creating and writing the same number of bytes in the same
// folder, in one run. Times are wall-clock, the median of many rounds.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "core/ops.h"
#include "core/record.h"
#include "platform/system.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"
#include "sequencer/wave_file.h"
#include "sequencer/wave_load.h"

namespace {

constexpr int Rounds = 400;
constexpr int32_t Camera = 0;
constexpr double Tick = 0.5; // microseconds

// The largest pattern of a width: outside pixels, binned pixels and rows.
struct Largest {
    const char* name;
    const WaveFormat* format;
    int16_t registerSize;
    uint32_t width;
    int32_t vbin;
};

constexpr Largest Patterns[] = {
    {"8-bit words", &OwnBytes, 8000, 3900, 50},
    {"16-bit words", &OwnWords, 8000, 3900, 50},
};

WaveProgram LargeProgram(const WaveFormat* format)
{
    const WaveProgram program = {
        .format = format,
        .idle = {{0}},
        .row = {{0}, {32, 9}, {64, 9}, {32, 9}, {0, 9}},
        .lineStart = {{0}},
        .lineRepeat = {{32, 9}, {64, 9}, {32, 9}, {0, 2}},
        .first = {{144}, {17}, {16}, {16}},
        .other = {{16}, {16}, {16}},
        .notLast = {{8}, {8}, {8}, {8}},
        .last = {{8}, {2}, {4}, {8}},
        .outside = {{144}, {8}, {16}, {8}, {16}, {8}, {16}, {8}},
        .lineEnd = {{0}},
        .pixel = {{8}, {16}, {144}, {8}},
    };
    return program;
}

double Microseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::micro>(now).count();
}

template <typename Body> double Median(Body body)
{
    std::vector<double> times(Rounds);
    for (double& time : times) {
        const double start = Microseconds();
        body();
        time = Microseconds() - start;
    }
    std::nth_element(times.begin(), times.begin() + Rounds / 2, times.end());
    return times[Rounds / 2];
}

// What no build can beat: the file made anew with one write.
void WriteOnce(const char* path, const std::vector<uint8_t>& bytes)
{
    unlink(path);
    const int file = open(path, O_CREAT | O_TRUNC | O_WRONLY, 0666);
    if (file < 0 || write(file, bytes.data(), bytes.size()) < 0) abort();
    close(file);
}

std::vector<uint16_t> Recorded;

void BeginRecord(uint32_t words, int32_t)
{
    Recorded.resize(words);
}
void Record(uint32_t address, const uint16_t* words, uint32_t count, int32_t)
{
    std::copy(words, words + count, Recorded.begin() + address);
}
void EndRecord(int32_t) {}

constexpr WaveSink Recorder = {false, BeginRecord, Record, EndRecord};

void FitSensor(int16_t registerSize)
{
    CameraRecord& record = CameraTable[Camera];
    record.Platform.SamplingClock[0] = Tick;
    record.Platform.VerticalPhasePeriod = 5;
    record.Ccd.HorDummyPix = 10;
    record.Ccd.HorRegSize = registerSize;
}

void Measure(const Largest& largest, const char* path)
{
    FitSensor(largest.registerSize);
    const WaveProgram program = LargeProgram(largest.format);
    const WaveRequest request = {path, 0, largest.width, 2, largest.vbin, 0, Camera};
    std::vector<uint8_t> memory(2 * size_t{LargestPattern});
    const uint32_t words = PlayWave(program, request, memory.data(), memory.size());
    const std::vector<uint8_t> file(WaveHeaderBytes +
                                    size_t{words} * (largest.format->wide ? 2 : 1));
    const double play = Median([&] { PlayWave(program, request, memory.data(), memory.size()); });
    const double write = Median([&] { WriteOnce(path, file); });
    const double build = Median([&] { WriteWave(program, request); });
    const double load = Median([&] {
        WriteWave(program, request);
        LoadWave(path, Recorder, Camera);
    });
    printf("%-13s %6u %9.1f %9.1f %9.1f %9.1f   %5.2f %5.2f %5.2f\n", largest.name, words, write,
           play, build, load, play / write, build / write, load / write);
}

// A kaf1600 on HERON_Plus, whole and binned 2 by 2.
void MeasureTypical(const char* path)
{
    FitSensor(1564);
    for (const uint32_t binning : {1u, 2u}) {
        const double build = Median([&] {
            BuildWaveHeronPlus(path, 0, 0, 1536 / binning, binning, static_cast<int32_t>(binning),
                               0, 0, Camera);
        });
        printf("rebuilds of a kaf1600 binned %u by %u: %.0f per second\n", binning, binning,
               1e6 / build);
    }
}

} // namespace

int main()
{
    UseNativeSystem();
    CameraTable[Camera].Ops = UnboundOps;
    char folder[] = "qvn_wave_XXXXXX";
    if (mkdtemp(folder) == nullptr) return 1;
    const std::string path = std::string(folder) + "/wave.bin";
    printf("microseconds, the median of %d rounds; the last columns are times the plain write\n",
           Rounds);
    printf("%-13s %6s %9s %9s %9s %9s   %5s %5s %5s\n", "pattern", "words", "write", "memory",
           "build", "and load", "mem", "build", "load");
    for (const Largest& largest : Patterns) Measure(largest, path.c_str());
    MeasureTypical(path.c_str());
    unlink(path.c_str());
    rmdir(folder);
    return 0;
}
