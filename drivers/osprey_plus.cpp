// OSPREY_Plus (platform 205): the registers of OSPREY behind the interface adaptor, whose
// bus is a byte wide. A frame comes in one transfer, a window line by line.
#include "drivers/osprey_plus.h"

#include <algorithm>
#include <cstring>

#include "core/errors.h"
#include "core/record.h"
#include "drivers/usb/pattern_stream.h"
#include "drivers/usb/readout.h"
#include "drivers/usb/usb_camera.h"
#include "links/adaptor.h"
#include "platform/system.h"

namespace {

constexpr int32_t VersionStatus = 63;
constexpr uint32_t DividerMs = 10, OpenMs = 20;
enum MemoryWord : int32_t { OffsetWord = 0, SpanWord = 1 };

constexpr SequenceLoad Load = {.repeatRegister = 34, .endRegister = 35, .pauseMs = 2};
constexpr int32_t LeaveCommand = 38;
constexpr uint8_t Skew = 4;
constexpr uint64_t FrameSlack = 256; // words, for the skew behind the last line

// --- frame buffer ---

struct FrameBuffer {
    uint16_t* words;
    uint64_t room; // without the slack
};
FrameBuffer Frames[CameraCount];

uint64_t FrameWords(int32_t width, int32_t lines)
{
    return static_cast<uint64_t>(std::max(width, 0)) * static_cast<uint64_t>(std::max(lines, 0));
}

void ReleaseFrame(int32_t camera)
{
    System.memory.Release(Frames[camera].words);
    Frames[camera] = {};
}

bool GrowFrame(uint64_t words, int32_t camera)
{
    if (Frames[camera].words != nullptr && words <= Frames[camera].room) return true;
    if (words > UINT32_MAX / sizeof(uint16_t) - FrameSlack) return false;
    const size_t bytes = static_cast<size_t>(words + FrameSlack) * sizeof(uint16_t);
    auto* memory = static_cast<uint16_t*>(System.memory.Allocate(bytes));
    if (memory == nullptr) return false;
    memset(memory, 0, bytes);
    ReleaseFrame(camera);
    Frames[camera] = {memory, words};
    return true;
}

// --- opening ---

struct SensorSetting {
    int32_t sensor;
    uint16_t level29, level30, mode21, mode22; // registers
};

// The last row is for all others. Register 22 is written where it is not 0.
constexpr SensorSetting SensorSettings[] = {
    {120, 66, 178, 24, 1}, {125, 180, 132, 88, 0}, {133, 180, 132, 88, 0},
    {134, 66, 178, 0, 9},  {135, 66, 178, 0, 1},   {0, 66, 178, 88, 0},
};

void ProgramSensor(int32_t camera)
{
    const SensorSetting* setting = SensorSettings;
    while (setting->sensor != 0 && setting->sensor != CameraTable[camera].CcdCode) ++setting;
    StoreRegister(29, setting->level29, camera);
    StoreRegister(30, setting->level30, camera);
    StoreRegister(21, setting->mode21, camera);
    if (setting->mode22 != 0) StoreRegister(22, setting->mode22, camera);
}

void Calibrate(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.TemperatureSpan[camera] = 1.0;
    record.TemperatureOffset[camera] = 0.0;
    const uint16_t offset = ReadAdaptorWord(OffsetWord, camera);
    CalibrateHead(camera, offset, ReadAdaptorWord(SpanWord, camera), camera);
}

int32_t StartCamera(int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (!IsByteVersion(VersionStatus, camera)) return ErrorCameraNotFound;
    SelectAdaptorMemory(camera);
    record.LineSkew = Skew;
    StartByteCamera(attach, camera);
    StoreRegister(15, 0, camera);
    System.clock.Sleep(DividerMs);
    ProgramSensor(camera);
    StoreRegister(17, 1, camera);
    ProgramByteFrontEnd(HighRange, camera);
    Calibrate(camera);
    const CcdDefinition& ccd = record.Ccd;
    const uint64_t words = FrameWords(ccd.Xpix, ccd.Ypix + 2 * ccd.Dummy[0]);
    if (!GrowFrame(words, camera)) return ErrorDmaBuffer;
    record.Ops.SetShutter(0.0, camera);
    System.clock.Sleep(OpenMs);
    return ErrorNone;
}

int32_t OpenOspreyPlus(int32_t, int32_t attach, int32_t camera)
{
    int32_t error = OpenAdaptor(AdaptorBytes, camera);
    if (error != ErrorNone) return error;
    error = StartCamera(attach, camera);
    if (error != ErrorNone) CloseOspreyPlus(camera);
    return error;
}

// --- memory and pattern ---

void PokeWord(uint32_t address, uint32_t value, int32_t camera)
{
    PokeByteWord(address, value, true, camera);
}

void EncodeWord(uint32_t address, uint16_t word, uint8_t* pairs)
{
    EncodeMemoryWord(address, word, pairs);
    pairs[8] = MemoryStrobe;
    pairs[9] = 0;
}

constexpr StreamFormat PatternFormat = {.wordBytes = 10, .encode = EncodeWord, .send = AdaptorSend};

bool ReservePattern(uint32_t words, int32_t camera)
{
    return ReserveStream(PatternFormat, words, camera);
}

constexpr WaveSink PatternSink = {false, OpenByteMemory, PutIntoStream, CloseByteMemory,
                                  ReservePattern};

int32_t LoadPattern(const char* path, int32_t camera)
{
    return LoadWave(path, PatternSink, camera);
}

// --- sequencer and reads ---

void RunSection(BusSequence sequence, uint32_t repeat, int32_t wait, int32_t camera)
{
    RunByteSequence(Load, sequence, repeat, wait, camera);
}

void ClearSensor(int32_t camera)
{
    ClearSensorBy(RunSection, camera);
}

void LeaveStream(int32_t camera)
{
    ByteCommand(LeaveCommand, camera);
}

// The library does not say what has come.
int32_t TransferFrame(const BusFrame& frame, int32_t camera)
{
    const uint16_t* words = Frames[camera].words;
    const uint64_t total = FrameWords(frame.width, frame.height + frame.dummy);
    AdaptorIn(Frames[camera].words, static_cast<uint32_t>(total * sizeof *words), camera);
    const uint64_t first =
        FrameWords(frame.width, frame.dummy / 2) + static_cast<uint64_t>(frame.skew);
    memcpy(frame.buffer, words + first, FrameWords(frame.width, frame.height) * sizeof *words);
    return ErrorNone;
}

bool ReceivePixels(uint16_t* pixels, uint32_t count, int32_t camera)
{
    AdaptorIn(pixels, count * static_cast<uint32_t>(sizeof *pixels), camera);
    return true;
}

int32_t TransferLines(const BusFrame& frame, int32_t camera)
{
    return ReceiveLines(ReceivePixels, frame, camera);
}

constexpr UsbReadout WholeReadout = {.play = RunSection,
                                     .triggerRegister = 6,
                                     .skipDivisor = 2,
                                     .leaveStream = LeaveStream,
                                     .transfer = TransferFrame,
                                     .end = EndByteStream};
constexpr UsbReadout LineReadout = {.play = RunSection,
                                    .triggerRegister = 6,
                                    .skipDivisor = 2,
                                    .leaveStream = LeaveStream,
                                    .transfer = TransferLines,
                                    .end = EndByteStream};

int32_t ReadFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer, int32_t camera)
{
    const BusFrame frame = FullFrame(width, height, buffer, camera);
    const uint64_t words = FrameWords(frame.width, frame.height + frame.dummy);
    // A camera that has been closed has no buffer, and gets none.
    if (Frames[camera].words == nullptr || !GrowFrame(words, camera)) return ErrorDmaBuffer;
    return ReadUsbFrame(WholeReadout, shutter, frame, camera);
}

int32_t ReadWindow(int32_t shutter, int32_t, int32_t y, int32_t width, int32_t height,
                   uint16_t* buffer, int32_t camera)
{
    return ReadUsbWindow(LineReadout, shutter, y, WindowFrame(width, height, buffer), camera);
}

int32_t ReadTemperature(int32_t camera)
{
    return ReadGuardedTemperature(&OspreyPlusReadings, camera);
}

const CameraOps OspreyPlusOps = {
    .OpenCamera = OpenOspreyPlus,
    .Poke = PokeWord,
    .Peek = PeekByteWord,
    .PokeW = PokeWord,
    .PeekW = PeekByteWord,
    .LoadSequencer = LoadPattern,
    .ClearSensor = ClearSensor,
    .ReadTemperature = ReadTemperature,
    .ReadFrame = ReadFrame,
    .ReadWindow = ReadWindow,
    .ReadRegister = AdaptorReadByte,
    .WriteRegister = AdaptorWriteByte,
};

} // namespace

ByteReadings OspreyPlusReadings;

void CloseOspreyPlus(int32_t camera)
{
    CloseAdaptor(camera);
    ReleaseFrame(camera);
}

const BindingRule OspreyPlusRules[] = {
    {.ops = &CommonOps},
    {.ops = &UsbCameraOps},
    {.ops = &ByteCameraOps},
    {.ops = &OspreyPlusOps},
    {},
};

const DriverExtras OspreyPlusExtras = {
    .ReadMemory = ReadAdaptorWord,
    .WriteMemory = WriteAdaptorWord,
    .SetFan = SetByteFan,
    .WriteRegisters = AdaptorWriteBytes,
};
