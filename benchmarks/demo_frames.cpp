// Frames of the simulated camera: the two fast paths against the plain
// transcription of the formula and against copying the same frame, in one run.
//
// Measured is ReadFrame on the virtual clock, on which the exposure takes no
// time, with gain index 4 at 20 degrees; at 0.0009 seconds the variance of the
// noise is 3.6. Times are processor time, the best of several repetitions.
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "core/binding.h"
#include "core/record.h"
#include "drivers/demo/demo.h"
#include "drivers/demo/demo_pixels.h"
#include "emulator/emulator.h"
#include "tests/support/plain_demo_frame.h"

namespace {

constexpr int32_t Repetitions = 5;
constexpr int32_t Sizes[] = {512, 1024, 4096};
constexpr double Exposures[] = {0.0009, 0.0};

size_t PixelCount(int32_t size)
{
    return static_cast<size_t>(size) * static_cast<size_t>(size);
}

std::string Name(int32_t size, bool light, double exposure, const char* what)
{
    char text[80];
    snprintf(text, sizeof text, "%d/%s/%g/%s", size, light ? "light" : "dark", exposure, what);
    return text;
}

PlainDemoInputs Inputs(int32_t size, bool light, double exposure)
{
    PlainDemoInputs inputs;
    inputs.image.resize(PixelCount(size));
    uint32_t state = 1;
    for (uint16_t& pixel : inputs.image) pixel = static_cast<uint16_t>(DemoRandom(&state) * 2);
    inputs.xpix = size;
    inputs.ypix = size;
    inputs.exposure = exposure;
    inputs.gainFactor = 20.0;
    inputs.temperature = 20.0;
    inputs.light = light;
    return inputs;
}

void MeasurePlain(benchmark::State& state, int32_t size, bool light, double exposure)
{
    const PlainDemoInputs inputs = Inputs(size, light, exposure);
    std::vector<uint16_t> frame(PixelCount(size));
    uint32_t generator = 1;
    for (auto _ : state) {
        PlainDemoFrame(inputs, size, size, frame.data(), &generator);
        benchmark::DoNotOptimize(frame.data());
    }
}

void MeasureFrame(benchmark::State& state, int32_t size, bool light, double exposure, DemoPath path)
{
    PlainDemoInputs inputs = Inputs(size, light, exposure);
    std::vector<uint16_t> frame(PixelCount(size));
    CameraRecord& record = CameraTable[0];
    DemoImage[0] = {inputs.image.data(), size, size};
    record.PlatformCode = 1;
    record.ExposureTime = exposure;
    record.GainIndex = 4;
    record.CurrentTemperature = inputs.temperature;
    record.HorBinning = 1;
    record.VerBinning = 1;
    DemoChoosePath(path);
    for (auto _ : state) {
        record.Ops.ReadFrame(light, size, size, frame.data(), 0);
        benchmark::DoNotOptimize(frame.data());
    }
    DemoImage[0] = {};
}

void MeasureCopy(benchmark::State& state, int32_t size)
{
    const std::vector<uint16_t> from(PixelCount(size), 100);
    std::vector<uint16_t> to(PixelCount(size));
    for (auto _ : state) {
        memcpy(to.data(), from.data(), from.size() * sizeof(uint16_t));
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}

template <typename Measure, typename... Arguments>
void Register(const std::string& name, Measure measure, Arguments... arguments)
{
    benchmark::RegisterBenchmark(name.c_str(), measure, arguments...)
        ->Repetitions(Repetitions)
        ->MinTime(0.02)
        ->Unit(benchmark::kMillisecond);
}

void RegisterSize(int32_t size)
{
    Register(std::to_string(size) + "/memcpy", MeasureCopy, size);
    for (bool light : {false, true}) {
        for (double exposure : Exposures) {
            Register(Name(size, light, exposure, "plain"), MeasurePlain, size, light, exposure);
            Register(Name(size, light, exposure, "portable"), MeasureFrame, size, light, exposure,
                     DemoPathPortable);
            if (!DemoPathAvailable(DemoPathVector)) continue;
            Register(Name(size, light, exposure, "vector"), MeasureFrame, size, light, exposure,
                     DemoPathVector);
        }
    }
}

// Keeps the best repetition of each benchmark beside what the console shows.
class BestTimes : public benchmark::ConsoleReporter {
public:
    BestTimes() : ConsoleReporter(OO_None) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        std::vector<Run> shown;
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration) continue; // a mean, a deviation
            shown.push_back(run);
            const double milliseconds = run.GetAdjustedCPUTime();
            const auto [place, isNew] = best.emplace(run.run_name.function_name, milliseconds);
            if (!isNew && milliseconds < place->second) place->second = milliseconds;
        }
        ConsoleReporter::ReportRuns(shown);
    }

    double Of(const std::string& name) const
    {
        const auto place = best.find(name);
        return place == best.end() ? 0.0 : place->second;
    }

private:
    std::map<std::string, double> best; // milliseconds
};

void PrintRow(const BestTimes& times, int32_t size, bool light, double exposure, const char* path)
{
    const double plain = times.Of(Name(size, light, exposure, "plain"));
    const double fast = times.Of(Name(size, light, exposure, path));
    const double copy = times.Of(std::to_string(size) + "/memcpy");
    if (plain == 0.0 || fast == 0.0 || copy == 0.0) return;
    const double nsPerPixel = 1e6 / static_cast<double>(PixelCount(size));
    printf("%5d  %-5s  %8g  %-8s  %9.3f  %9.2f  %12.1f  %12.1f\n", size, light ? "light" : "dark",
           exposure, path, fast * nsPerPixel, plain * nsPerPixel, plain / fast, fast / copy);
}

void PrintTable(const BestTimes& times)
{
    printf(
        "\n size  frame  exposure  path       ns/pixel   plain ns  times faster  times memcpy\n");
    for (int32_t size : Sizes) {
        for (bool light : {false, true}) {
            for (double exposure : Exposures) {
                PrintRow(times, size, light, exposure, "portable");
                PrintRow(times, size, light, exposure, "vector");
            }
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    EmuInstall();
    EmuSetTimeLimit(UINT64_MAX);
    CameraTable[0].Ops = UnboundOps;
    BindOperations(1, 0, 0);
    for (int32_t size : Sizes) RegisterSize(size);
    BestTimes times;
    benchmark::RunSpecifiedBenchmarks(&times);
    PrintTable(times);
    return 0;
}
