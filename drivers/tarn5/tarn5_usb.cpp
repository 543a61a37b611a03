// Tarn_V behind the interface adaptor: registers go out as pairs of words, several in one
// transfer; pixels come line by line.
#include <cstring>

#include "core/errors.h"
#include "core/record.h"
#include "drivers/register_batch.h"
#include "drivers/tarn5/tarn5.h"
#include "drivers/usb/pattern_stream.h"
#include "drivers/usb/readout.h"
#include "drivers/usb/usb_camera.h"
#include "links/adaptor.h"

namespace {

enum UsbRegister : uint16_t {
    SelectRegister = 0,
    MemoryWord = 8,
    MemoryAddress = 9,
    SequencerMode = 11,
    StoreWord = 18,
};
enum UsbStatus : int32_t { LeaveStream = 16, MemoryStatus = 17 };

constexpr int32_t Ccd3011 = 120, Ccd4710 = 125, Ccd3011b = 133, Kaf16800 = 290, Ccd442 = 2000;
constexpr uint32_t DividerMs = 10;
enum CalibrationWord : int32_t { OffsetWord = 0, SpanWord = 1 };

void WriteWordRegister(int32_t reg, int32_t value, int32_t camera)
{
    const RegisterPair pair = {static_cast<uint16_t>(reg), static_cast<uint16_t>(value)};
    AdaptorWriteWords(&pair, 1, camera);
}

uint16_t ReadWordRegister(int32_t reg, int32_t camera)
{
    WriteWordRegister(SelectRegister, Tarn5Select(reg, camera), camera);
    uint16_t word = 0;
    AdaptorIn(&word, 1, camera);
    return word;
}

// --- opening ---

uint16_t Register7Of(int32_t sensor)
{
    switch (sensor) {
    case Ccd442: return 30968;
    case Ccd3011:
    case Ccd4710:
    case Ccd3011b: return 16376;
    default: return 13064;
    }
}

void Calibrate(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.TemperatureSpan[camera] = 1.0;
    record.TemperatureOffset[camera] = 0.0;
    const uint16_t offset = ReadAdaptorWord(OffsetWord, camera);
    CalibrateHead(camera, offset, ReadAdaptorWord(SpanWord, camera), camera);
}

int32_t OpenTarn5Usb(int32_t, int32_t attach, int32_t camera)
{
    const int32_t sensor = CameraTable[camera].CcdCode;
    int32_t error = OpenAdaptor(AdaptorWords, camera);
    if (error != ErrorNone) return error;
    StoreWordPeriod(camera);
    const Tarn5Start start = {
        .register6 = static_cast<uint16_t>(sensor == Kaf16800 ? 4772 : 38564),
        .register7 = Register7Of(sensor),
        .settleMs = DividerMs,
        .identified = SelectAdaptorMemory,
    };
    error = StartTarn5(start, attach, camera);
    if (error != ErrorNone) {
        CloseAdaptor(camera);
        return error;
    }
    Calibrate(camera);
    return ErrorNone;
}

// --- pattern ---

void PokeWord(uint32_t address, uint32_t value, int32_t camera)
{
    RegisterBatch batch = {};
    AddPair(&batch, SequencerMode, Tarn5ModeWith(WriteMode, camera));
    AddPair(&batch, MemoryAddress, address);
    AddPair(&batch, MemoryWord, value);
    AddPair(&batch, StoreWord, 0);
    SendBatch(batch, camera);
}

uint32_t PeekWord(uint32_t address, int32_t camera)
{
    RegisterBatch batch = {};
    AddPair(&batch, SequencerMode, Tarn5ModeWith(ReadMode, camera));
    AddPair(&batch, MemoryAddress, address);
    SendBatch(batch, camera);
    return CameraTable[camera].Ops.ReadRegister(MemoryStatus, camera);
}

void EncodeWord(uint32_t address, uint16_t word, uint8_t* items)
{
    const RegisterPair pairs[] = {
        {MemoryAddress, static_cast<uint16_t>(address)}, {MemoryWord, word}, {StoreWord, 0}};
    memcpy(items, pairs, sizeof pairs);
}

void SendItems(uint8_t* items, uint32_t bytes, int32_t camera)
{
    AdaptorOut(items, bytes / static_cast<uint32_t>(sizeof(uint16_t)), camera);
}

constexpr StreamFormat PatternFormat = {
    .wordBytes = 3 * sizeof(RegisterPair), .encode = EncodeWord, .send = SendItems};

bool ReservePattern(uint32_t words, int32_t camera)
{
    return ReserveStream(PatternFormat, words, camera);
}

void ClosePattern(int32_t camera)
{
    CloseTarn5Memory(camera);
    ReleaseStream(camera);
}

constexpr WaveSink PatternSink = {false, OpenTarn5Memory, PutIntoStream, ClosePattern,
                                  ReservePattern};

int32_t LoadPattern(const char* path, int32_t camera)
{
    return LoadWave(path, PatternSink, camera);
}

// --- reads ---

void StopStream(int32_t camera)
{
    WriteWordRegister(SelectRegister, Tarn5Select(LeaveStream, camera), camera);
}

void EndStream(int32_t camera)
{
    EndTarn5Stream(camera);
    StopStream(camera);
}

// The library does not say what has come.
bool ReceivePixels(uint16_t* pixels, uint32_t count, int32_t camera)
{
    AdaptorIn(pixels, count, camera);
    return true;
}

int32_t TransferLines(const BusFrame& frame, int32_t camera)
{
    return ReceiveLines(ReceivePixels, frame, camera);
}

constexpr UsbReadout Readout = {.play = RunTarn5Sequence,
                                .triggerRegister = 3,
                                .skipDivisor = 2,
                                .leaveStream = StopStream,
                                .transfer = TransferLines,
                                .end = EndStream};

int32_t ReadFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer, int32_t camera)
{
    return ReadUsbFrame(Readout, shutter, FullFrame(width, height, buffer, camera), camera);
}

int32_t ReadWindow(int32_t shutter, int32_t, int32_t y, int32_t width, int32_t height,
                   uint16_t* buffer, int32_t camera)
{
    return ReadUsbWindow(Readout, shutter, y, WindowFrame(width, height, buffer), camera);
}

int32_t ReadTemperature(int32_t camera)
{
    StoreHeadTemperature(camera, MeasureTarn5(camera), camera);
    return 0;
}

} // namespace

const CameraOps Tarn5UsbOps = {
    .OpenCamera = OpenTarn5Usb,
    .Poke = PokeWord,
    .Peek = PeekWord,
    .PokeW = PokeWord,
    .PeekW = PeekWord,
    .LoadSequencer = LoadPattern,
    .ReadTemperature = ReadTemperature,
    .ReadFrame = ReadFrame,
    .ReadWindow = ReadWindow,
    .ReadRegister = ReadWordRegister,
    .WriteRegister = WriteWordRegister,
};

const DriverExtras Tarn5UsbExtras = {
    .ReadMemory = ReadAdaptorWord,
    .WriteMemory = WriteAdaptorWord,
    .SetFan = SetTarn5Fan,
    .WriteRegisters = AdaptorWriteWords,
};
