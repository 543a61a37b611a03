// The emulator's sequencer and sensor under a pattern file.
#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "bench/builders.h"
#include "bench/geometry.h"
#include "bench/record_loan.h"
#include "bench/scene.h"
#include "emulator/line_maps.h"
#include "emulator/sequencer.h"

namespace {

constexpr uint32_t PageWords = 256;

// What a readout needs to know of the camera.
struct Readout {
    EmuLineMap lines;
    uint32_t columns, rows, leading, registerSize;
    uint32_t darkRows; // outside of the image
    uint32_t skippedRows, height;
    bool byteWords;
};

// The sensor asks for its light by column and row alone.
struct Light {
    const QvbScene* scene;
    uint32_t columns, rows;
};

thread_local Light PlayedLight;

uint32_t SceneAt(uint32_t column, uint32_t row)
{
    return StretchedPixel(*PlayedLight.scene, PlayedLight.columns, PlayedLight.rows, column, row);
}

int32_t PlanReadout(const QvbWaveRequest& request, Readout* readout)
{
    const BenchBuilder* builder =
        FindBenchBuilder(request.Platform, request.Sensor, request.InterfaceType);
    const EmuWiring wiring{request.Platform, request.Sensor, request.CcdTechnology};
    if (builder == nullptr || !EmuFindLineMap(builder->name, wiring, &readout->lines)) {
        return QVB_ERROR_NO_BUILDER;
    }
    RecordLoan loan = {};
    const int32_t code = TakeRecord(request, &loan);
    if (code != QV_ERROR_NONE) return code;
    const CcdDefinition ccd = CameraTable[request.Camera].Ccd;
    ReturnRecord(loan);
    const BenchWindow window = WindowOf(request, ccd);
    readout->columns = static_cast<uint32_t>(ccd.Xpix);
    readout->rows = static_cast<uint32_t>(ccd.Ypix);
    readout->leading = static_cast<uint32_t>(std::max<int32_t>(ccd.HorDummyPix, 0));
    readout->registerSize = static_cast<uint32_t>(ccd.HorRegSize);
    readout->darkRows = ccd.Dummy[0];
    // Behind the last row there is nothing more to shift away.
    const uint64_t skipped = uint64_t{window.y} * static_cast<uint32_t>(request.VerBinning);
    readout->skippedRows = static_cast<uint32_t>(std::min<uint64_t>(skipped, readout->rows));
    readout->height = window.height;
    readout->byteWords = !builder->format->wide;
    return QV_ERROR_NONE;
}

bool LoadPattern(const char* path, const Readout& readout, EmuPatternMemory* memory,
                 EmuPattern* pattern)
{
    if (EmuLoadWave(path, memory, pattern) != nullptr) return false;
    if (pattern->byteWords != readout.byteWords) return false;
    const EmuSection played[] = {pattern->idle, pattern->row, pattern->pixel, pattern->line};
    return std::all_of(std::begin(played), std::end(played), [&](const EmuSection& section) {
        return section.start % PageWords == 0 &&
               uint32_t{section.start} + section.end < pattern->wordCount;
    });
}

// What two lines send when there is nothing to see tells their width: the first one may begin
// with the lines at other levels.
uint32_t LineWidth(const EmuPatternMemory& memory, const EmuPattern& pattern, EmuSensor dark)
{
    std::vector<uint16_t> pixels;
    EmuPlay(memory, pattern.idle, 1, &dark, &pixels);
    EmuPlay(memory, pattern.line, 1, &dark, &pixels);
    pixels.clear();
    EmuPlay(memory, pattern.line, 1, &dark, &pixels);
    return static_cast<uint32_t>(pixels.size());
}

std::vector<uint16_t> Play(const EmuPatternMemory& memory, const EmuPattern& pattern,
                           const Readout& readout, EmuSensor* sensor)
{
    std::vector<uint16_t> pixels;
    EmuPlay(memory, pattern.idle, 1, sensor, &pixels);
    for (int pass = 0; pass < 2; ++pass) {
        EmuPlay(memory, pattern.row, readout.rows + readout.darkRows, sensor, &pixels);
        EmuPlay(memory, pattern.pixel, readout.registerSize, sensor, &pixels);
    }
    EmuExpose(sensor);
    EmuPlay(memory, pattern.row, readout.skippedRows, sensor, &pixels);
    EmuPlay(memory, pattern.pixel, readout.registerSize, sensor, &pixels);
    pixels.clear();
    EmuPlay(memory, pattern.line, readout.height, sensor, &pixels);
    return pixels;
}

int32_t PlayFile(const char* path, const Readout& readout, const QvbScene& scene, QvbFrame* frame)
{
    const auto memory = std::make_unique<EmuPatternMemory>();
    EmuPattern pattern{};
    if (!LoadPattern(path, readout, memory.get(), &pattern)) return QVB_ERROR_WAVE_FILE;
    EmuSensor sensor = EmuMakeSensor(readout.lines, {readout.columns, readout.rows, readout.leading,
                                                     readout.registerSize, SceneAt});
    frame->Width = LineWidth(*memory, pattern, sensor);
    frame->Height = readout.height;
    if (frame->Pixels == nullptr) return QV_ERROR_NONE;
    const uint64_t wanted = uint64_t{frame->Width} * frame->Height;
    if (wanted > frame->Room) return QVB_ERROR_FRAME_ROOM;
    PlayedLight = {&scene, readout.columns, readout.rows};
    std::vector<uint16_t> pixels = Play(*memory, pattern, readout, &sensor);
    pixels.resize(wanted);
    std::copy(pixels.begin(), pixels.end(), frame->Pixels);
    return QV_ERROR_NONE;
}

} // namespace

int32_t QVB_PlayWave(const char* path, const QvbWaveRequest* request, const QvbScene* scene,
                     QvbFrame* frame)
{
    if (path == nullptr || request == nullptr || scene == nullptr || frame == nullptr ||
        !IsValid(*request) || scene->Pixels == nullptr || scene->Width == 0 || scene->Height == 0) {
        return QVB_ERROR_ARGUMENT;
    }
    Readout readout{};
    const int32_t code = PlanReadout(*request, &readout);
    if (code != QV_ERROR_NONE) return code;
    try {
        return PlayFile(path, readout, *scene, frame);
    } catch (const std::bad_alloc&) {
        return QVB_ERROR_NO_MEMORY;
    }
}
