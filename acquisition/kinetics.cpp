#include "acquisition/kinetics.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "acquisition/window.h"
#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/open_close.h"
#include "core/options.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "devices/shutter.h"
#include "platform/system.h"

namespace {

constexpr int32_t SensorWords = sizeof(CcdDefinition) / sizeof(uint16_t);
constexpr int32_t WordAheadOfDummies = 2; // Dummy[n - 1] is word n + 2
static_assert(offsetof(CcdDefinition, Dummy) == (WordAheadOfDummies + 1) * sizeof(uint16_t));

// What a series must not have: a clear ahead of each frame, and dummy lines between
// them. With vertical binnings above 4 the word is one behind the dummies: required.
struct CleanUp {
    uint32_t options;
    int32_t word; // of the sensor's definition; 0: none
    uint16_t dummy;
};

uint16_t SensorWord(int32_t word, const CameraRecord& record)
{
    uint16_t value;
    memcpy(&value, reinterpret_cast<const uint16_t*>(&record.Ccd) + word, sizeof value);
    return value;
}

void SetSensorWord(int32_t word, uint16_t value, CameraRecord* record)
{
    memcpy(reinterpret_cast<uint16_t*>(&record->Ccd) + word, &value, sizeof value);
}

CleanUp NoteCleanUp(const CameraRecord& record)
{
    const int32_t word = record.VerBinning + WordAheadOfDummies;
    const bool exists = record.VerBinning >= 1 && word < SensorWords;
    return {LoadFlag(record.Options), exists ? word : 0,
            exists ? SensorWord(word, record) : uint16_t{0}};
}

// Clears the sensor once, in the place of all clears of the series.
void SuspendCleanUp(const CleanUp& cleanUp, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StoreFlag(&record.Options, cleanUp.options & ~uint32_t{OptionKeepClean});
    if (cleanUp.word != 0) SetSensorWord(cleanUp.word, 0, &record);
    if ((cleanUp.options & OptionKeepClean) != 0) record.Ops.ClearSensor(camera);
}

void ResumeCleanUp(const CleanUp& cleanUp, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StoreFlag(&record.Options, cleanUp.options);
    if (cleanUp.word != 0) SetSensorWord(cleanUp.word, cleanUp.dummy, &record);
    if (LoadFlag(record.LastError) == ErrorNone) StartNow(camera);
}

// The rows are counted from the end of the image area that was read last: required.
int32_t SeriesRow(const Window& window, const CameraRecord& record)
{
    return static_cast<int32_t>(record.WindowDimY - static_cast<uint32_t>(window.y));
}

int32_t ReadSeriesFrame(const Window& window, int32_t shutter, uint16_t* buffer, int32_t camera)
{
    if (buffer == nullptr) return ErrorImageBuffer;
    return CameraTable[camera].Ops.ReadWindow(shutter, window.x, 0, EvenWidth(window.width),
                                              window.height, buffer, camera);
}

void ShiftRows(int32_t lines, int32_t camera)
{
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.ShiftRows == nullptr || lines <= 0) return;
    extras.ShiftRows(static_cast<uint32_t>(lines), camera);
}

} // namespace

void Kinetics(int32_t shutter, double exposure, int32_t frames, int32_t x, int32_t y, int32_t width,
              int32_t height, uint16_t** buffers, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const Window window = {x, y, width, height};
    const CleanUp cleanUp = NoteCleanUp(record);
    StopNow(camera);
    Select(camera);
    if (!IsWindowBuilt(window, record)) BuildWindow(window, SeriesRow(window, record), camera);
    record.ExposureTime = exposure;
    SuspendCleanUp(cleanUp, camera);
    for (int32_t i = 0; i < frames; ++i) {
        uint16_t* buffer = buffers == nullptr ? nullptr : buffers[i];
        const int32_t error = ReadSeriesFrame(window, shutter, buffer, camera);
        StoreFlag(&record.LastError, error);
        if (error != ErrorNone) break;
    }
    ResumeCleanUp(cleanUp, camera);
}

void KineticsCCD(int32_t shutter, double interval, int32_t shifts, int32_t lines, uint16_t* buffer,
                 int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (buffer == nullptr) {
        StoreFlag(&record.LastError, ErrorImageBuffer);
        return;
    }
    const CleanUp cleanUp = NoteCleanUp(record);
    StopNow(camera);
    Select(camera);
    RestoreFullFrame(camera);
    // When the frame is read the exposures are over.
    record.ExposureTime = 0.0;
    SuspendCleanUp(cleanUp, camera);
    for (int32_t i = 0; i < shifts; ++i) {
        System.clock.Sleep(ToUint32(interval * 1000.0));
        ShiftRows(lines, camera);
    }
    ShutterControl(0, camera);
    System.clock.Sleep(static_cast<uint32_t>(std::max(record.Config.ShutterHisteresys, 0)));
    const int32_t width = EvenWidth(BinnedSize(record.Ccd.Xpix, record.HorBinning));
    const int32_t height = BinnedSize(record.Ccd.Ypix, record.VerBinning);
    StoreFlag(&record.LastError, record.Ops.ReadFrame(shutter, width, height, buffer, camera));
    ResumeCleanUp(cleanUp, camera);
}
