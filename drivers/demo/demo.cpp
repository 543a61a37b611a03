// DEMO (platform 1): a camera made of software. The image comes from a raw file
// and is scaled by exposure and gain; noise and cooling are computed.
#include "drivers/demo/demo.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <iterator>

#include "catalogue/definition_file.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/status.h"
#include "devices/exposure.h"
#include "drivers/demo/demo_pixels.h"
#include "platform/system.h"

int32_t DemoOpenCount;
uint32_t DemoGenerator;
int32_t DemoFileWidth, DemoFileHeight;
uint32_t DemoCooler[CameraCount];
int32_t DemoPower[CameraCount];
double DemoAmbient[CameraCount];
DemoSource DemoImage[CameraCount];

namespace {

constexpr uint32_t ClearMs = 180;
constexpr uint32_t CoolerOn = 1;
constexpr uint16_t CoolerBit = 0x8000; // of register 0
constexpr double TemperatureStep = 0.1;
constexpr double NoiselessAt = 26.0; // Celsius
constexpr int32_t RowsPerReport = 64;
constexpr double GainFactors[] = {1.0, 2.0, 5.0, 10.0, 20.0};
constexpr int64_t MaxFileOffset = int64_t{1} << 42; // no file is that long

// Where the file lies on the sensor along one axis, centred: the first pixel of
// each that takes part.
struct Placement {
    int64_t source, target;
};

Placement Centre(int64_t sensor, int64_t file)
{
    if (sensor >= file) return {0, (sensor - file) / 2};
    return {(file - sensor) / 2, 0};
}

void DrawAmbient(int32_t camera)
{
    const int32_t opened = StepFlag(&DemoOpenCount, 1);
    for (uint32_t& cooler : DemoCooler) StoreFlag(&cooler, uint32_t{0}); // of all: required
    uint32_t state = static_cast<uint32_t>(System.clock.WallSeconds());
    const int32_t drawn = static_cast<int32_t>(DemoRandom(&state));
    StoreFlag(&DemoGenerator, state);
    const double ambient = 20.0 + ((drawn - 16383) / 32767.0) / 4.0 + opened;
    StoreReading(&DemoAmbient[camera], ambient);
    StoreReading(&CameraTable[camera].CurrentTemperature, ambient);
}

void ReleaseImage(int32_t camera)
{
    System.memory.Release(DemoImage[camera].pixels);
    DemoImage[camera] = {};
}

// An image of the sensor's size; of none for a sensor without pixels.
bool AllocateImage(int32_t camera)
{
    const CcdDefinition& ccd = CameraTable[camera].Ccd;
    ReleaseImage(camera); // of an open that failed
    if (ccd.Xpix <= 0 || ccd.Ypix <= 0) return true;
    const size_t pixels = static_cast<size_t>(ccd.Xpix) * static_cast<size_t>(ccd.Ypix);
    void* memory = System.memory.Allocate(pixels * sizeof(uint16_t));
    if (memory == nullptr) return false;
    DemoImage[camera] = {static_cast<uint16_t*>(memory), ccd.Xpix, ccd.Ypix};
    return true;
}

FILE* OpenRawFile(const char* name)
{
    char path[2 * PathRoom];
    if (name[0] == '\0') return nullptr;
    snprintf(path, sizeof path, "%s%s", LibraryPath, name);
    FILE* file = fopen(path, "rb");
    if (file == nullptr) return nullptr;
    if (fgetc(file) == EOF && ferror(file) != 0) { // a folder can be opened too
        fclose(file);
        return nullptr;
    }
    rewind(file);
    return file;
}

// Moves on by `bytes`; false if there is no such place.
bool SkipForward(FILE* file, int64_t bytes)
{
    if (bytes < 0 || bytes > MaxFileOffset) return false;
    while (bytes > 0) {
        const long step = static_cast<long>(std::min<int64_t>(bytes, LONG_MAX));
        if (fseek(file, step, SEEK_CUR) != 0) return false;
        bytes -= step;
    }
    return true;
}

// Centres file and sensor on each other. Every row reads the sensor's width
// whatever the file's, and the loop runs over the sensor's rows: required. What
// would lie behind the image is not read.
void ReadRawFile(FILE* file, const DemoSource& image)
{
    const int64_t size = int64_t{image.columns} * image.rows;
    std::fill(image.pixels, image.pixels + size, uint16_t{0});
    const Placement rows = Centre(image.rows, DemoFileHeight);
    const Placement columns = Centre(image.columns, DemoFileWidth);
    if (!SkipForward(file, (rows.source * DemoFileWidth + columns.source) * 2)) return;
    int64_t target = rows.target * image.columns + columns.target;
    for (int32_t row = 0; row < image.rows && target < size; ++row) {
        const int64_t pixels = std::min<int64_t>(image.columns, size - target);
        const size_t bytes = static_cast<size_t>(pixels) * sizeof(uint16_t);
        static_cast<void>(fread(image.pixels + target, 1, bytes, file)); // stores what came
        if (!SkipForward(file, 4 * columns.source)) return;
        target += image.columns;
    }
}

// "Not found" whatever failed: required.
int32_t DemoOpen(int32_t, int32_t, int32_t camera)
{
    char name[PathRoom - 1];
    int32_t width = 0, height = 0;
    DrawAmbient(camera);
    if (ReadDemoDefinition(name, sizeof name, &width, &height) != FileDone) {
        return ErrorCameraNotFound;
    }
    DemoFileWidth = width;
    DemoFileHeight = height;
    if (!AllocateImage(camera)) return ErrorCameraNotFound;
    FILE* file = OpenRawFile(name);
    if (file == nullptr) return ErrorCameraNotFound;
    ReadRawFile(file, DemoImage[camera]);
    fclose(file);
    return ErrorNone;
}

void DemoSetCoolerPower(int32_t power, int32_t camera)
{
    StoreFlag(&DemoPower[camera], power);
}

void DemoClearSensor(int32_t)
{
    System.clock.Sleep(ClearMs);
}

int32_t DemoStepTemperature(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const double target = LoadReading(record.TargetTemperature);
    double now = LoadReading(record.CurrentTemperature);
    if ((LoadFlag(DemoCooler[camera]) & CoolerOn) != 0) {
        if (now > target) {
            now = std::max(now - TemperatureStep, target);
        } else if (now < target) {
            now = std::min(now + TemperatureStep, target);
        }
    } else if (LoadReading(DemoAmbient[camera]) > now) {
        now += TemperatureStep; // may pass the ambient by less than a step: required
    }
    StoreReading(&record.CurrentTemperature, now);
    return 0;
}

void DemoSetShutter(double, int32_t) {}

void DemoSetCooler(int32_t on, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const uint32_t cooler = LoadFlag(DemoCooler[camera]) & ~CoolerOn;
    StoreFlag(&DemoCooler[camera], on != 0 ? cooler | CoolerOn : cooler);
    uint16_t& control = record.Registers[0];
    control = static_cast<uint16_t>(on != 0 ? control | CoolerBit : control & ~CoolerBit);
    record.Ops.WriteRegister(0, control, camera);
}

uint16_t DemoReadRegister(int32_t reg, int32_t camera)
{
    return CameraTable[camera].Registers[reg & (RegisterCount - 1)];
}

void DemoWriteRegister(int32_t reg, int32_t value, int32_t camera)
{
    CameraTable[camera].Registers[reg & (RegisterCount - 1)] = static_cast<uint16_t>(value);
}

// QV_SetGain keeps the index in range; one that is not amplifies nothing.
double GainFactor(const CameraRecord& record)
{
    const int32_t index = record.GainIndex;
    return index >= 0 && index < static_cast<int32_t>(std::size(GainFactors)) ? GainFactors[index]
                                                                              : 1.0;
}

DemoFrame FrameWindow(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const DemoSource& image = DemoImage[camera];
    DemoFrame frame = {};
    frame.source = image.pixels;
    frame.columns = image.columns;
    frame.rows = image.rows;
    frame.x = record.WindowBuilt != 0 ? record.BuiltWindowX : 0;
    frame.y = record.WindowBuilt != 0 ? record.BuiltWindowY : 0;
    return frame;
}

// The exposure that was asked for counts, also in a frame that was broken off.
void SetExposure(DemoFrame* frame, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const double factor = GainFactor(record);
    const double temperature = LoadReading(record.CurrentTemperature);
    // Divides by zero at 26 degrees: required.
    frame->variance = record.ExposureTime * factor / ((NoiselessAt - temperature) / 6.0) * 200.0;
    frame->scale = record.ExposureTime * factor;
    frame->horBinning = record.HorBinning;
    frame->verBinning = record.VerBinning;
}

// Rows up to and with the one that is reported are computed in one go. Two frames
// that are read at once start from the same state and draw the same noise.
void ReadRows(const DemoFrame& frame, int32_t width, int32_t height, uint16_t* buffer,
              float* accumulator, int32_t camera)
{
    uint32_t state = LoadFlag(DemoGenerator);
    if (buffer == nullptr) width = 0;
    for (int32_t row = 0; row < height;) {
        const int64_t reported = row == 0 ? RowsPerReport : int64_t{row} + RowsPerReport - 1;
        const int32_t last = static_cast<int32_t>(std::min<int64_t>(reported, height - 1));
        DemoRows(frame, row, last - row + 1, width, buffer, &state, accumulator);
        if (width > 0) buffer += static_cast<size_t>(last - row + 1) * static_cast<size_t>(width);
        if (last == reported) {
            ReportProgress(nullptr, static_cast<int32_t>(int64_t{last} * 100 / height), camera);
        }
        row = last + 1;
    }
    StoreFlag(&DemoGenerator, state);
}

int32_t DemoReadFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                      int32_t camera)
{
    DemoFrame frame = FrameWindow(camera);
    frame.light = shutter != 0;
    double exposure = CameraTable[camera].ExposureTime;
    ExposureControl("Exposure", &exposure, shutter, camera);
    ReportProgress("Image downloading", 0, camera);
    SetExposure(&frame, camera);
    float* accumulator = nullptr;
    if (frame.verBinning > 1) {
        const size_t columns = static_cast<size_t>(std::max(frame.columns, 1));
        accumulator = static_cast<float*>(System.memory.Allocate(columns * sizeof(float)));
        if (accumulator == nullptr) return ErrorImageBuffer;
        std::fill(accumulator, accumulator + columns, 0.0f);
    }
    SetReadoutPriority(1, camera);
    ReadRows(frame, width, height, buffer, accumulator, camera);
    SetReadoutPriority(0, camera);
    System.memory.Release(accumulator);
    ReportProgress(nullptr, 100, camera);
    return ErrorNone;
}

// The window is the one that was built: required.
int32_t DemoReadWindow(int32_t shutter, int32_t, int32_t, int32_t width, int32_t height,
                       uint16_t* buffer, int32_t camera)
{
    return DemoReadFrame(shutter, width, height, buffer, camera);
}

const CameraOps DemoOps = {
    .OpenCamera = DemoOpen,
    .SetCoolerPower = DemoSetCoolerPower,
    .SetPortBits = NoPortBits,
    .ModifyRegister = NoModifyRegister,
    .Poke = NoPoke,
    .Peek = NoPeek,
    .PokeW = NoPoke,
    .PeekW = NoPeek,
    .LoadSequencer = LoadNothing,
    .BuildWave = BuildWaveNone,
    .ClearSensor = DemoClearSensor,
    .ReadTemperature = DemoStepTemperature,
    .ReadFrame = DemoReadFrame,
    .SetShutter = DemoSetShutter,
    .ReadWindow = DemoReadWindow,
    .SetCooler = DemoSetCooler,
    .ReadRegister = DemoReadRegister,
    .WriteRegister = DemoWriteRegister,
    .WaitReady = NoResult,
    .IsTriggered = NoResult,
    .ClearOnce = NoOperation,
    .MoveFilter = NoMoveFilter,
    .WriteData = NoWriteData,
    .WriteAddress = NoWriteAddress,
    .ResetLink = NoOperation,
    .ReadData = NoReadData,
    .ReadStatus = NoReadStatus,
    .SetGain = NoResult,
    // Not available here; a host or another platform may have filled them.
    .ReadTimed = NoReadFrame,
    .OpenArrayCamera = RefuseOpenArray,
    .ReadArray = NoReadFrame,
};

} // namespace

const BindingRule DemoRules[] = {
    {.ops = &CommonOps},
    {.ops = &DemoOps},
    {},
};

void DemoClose(int32_t camera)
{
    StepFlag(&DemoOpenCount, -1);
    ReleaseImage(camera);
}
