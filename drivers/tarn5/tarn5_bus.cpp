// Tarn_V on the interface card: the link has no address map of its own, a register
// number goes out as an address and a word as its data; pixels come by DMA.
#include "core/errors.h"
#include "core/record.h"
#include "core/status.h"
#include "drivers/tarn5/tarn5.h"
#include "links/card.h"
#include "links/card_bits.h"
#include "links/card_link.h"
#include "links/readout.h"

namespace {

constexpr Cable Tarn5Cable = {
    .control = 0x1704, .controlLong = 0x1704, .decoder = NoDecoder, .badReply = 0};

constexpr int32_t LeaveStream = 16; // command
constexpr int32_t Ccd4710 = 125;

enum MemoryWord : int32_t { OffsetWord = 0, SpanWord = 1 };

void WriteBusRegister(int32_t reg, int32_t value, int32_t camera)
{
    const uint32_t c = CardLinkOps.WriteAddress(static_cast<uint32_t>(reg), camera);
    SendCardWord(c, static_cast<uint32_t>(value), camera);
}

uint16_t ReadBusRegister(int32_t reg, int32_t camera)
{
    CameraTable[camera].Ops.WriteRegister(0, Tarn5Select(reg, camera), camera);
    const uint32_t c = ReadCard(CardControlReg, camera) & ~CardAddressCycle;
    WriteCard(CardControlReg, c | CardReadCycle, camera);
    PollCycle(camera);
    return static_cast<uint16_t>(ReadCard(CardDataReg, camera));
}

void ResetBusLink(int32_t camera)
{
    CardLinkOps.ResetLink(camera);
}

int32_t OpenTarn5Bus(int32_t address, int32_t attach, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.PortBase = static_cast<uint16_t>(address);
    int32_t error = OpenCardLink(Tarn5Cable, camera);
    if (error != ErrorNone) return error;
    record.Ops.ResetLink(camera);
    PresetCalibration(camera);
    const uint16_t register7 = record.CcdCode == Ccd4710 ? 16376 : 13064;
    error = StartTarn5({.register6 = 38564, .register7 = register7, .settleMs = 0}, attach, camera);
    if (error != ErrorNone) return error;
    const uint16_t offset = ReadTarn5Memory(OffsetWord, camera);
    CalibrateFromWords(offset, ReadTarn5Memory(SpanWord, camera), camera);
    return ErrorNone;
}

int32_t ReadTarn5Temperature(int32_t camera)
{
    StoreTemperature(MeasureTarn5(camera), camera);
    return 0;
}

// --- reading ---

int32_t FetchLines(const ReadForm& form, const BusFrame& frame, int32_t camera)
{
    SetReadoutPriority(1, camera);
    const int32_t error = form.transfer(frame, camera);
    SetReadoutPriority(0, camera);
    ReportProgress(nullptr, 100, camera);
    ReadoutEnd(camera);
    EndTarn5Stream(camera);
    return error;
}

void StopStream(int32_t camera)
{
    CameraTable[camera].Ops.WriteRegister(0, Tarn5Command(LeaveStream, camera), camera);
}

// The lines wait for the end of the exposure, with the card ready for them.
int32_t ReadFrame(const ReadForm& form, int32_t shutter, BusFrame frame, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    frame.skew = record.LineSkew;
    const uint64_t pixels = form.dmaPixels(frame);
    if (GrowDma(pixels, camera) != ErrorNone) return ErrorDmaBuffer;
    StopStream(camera);
    ClearForRead(camera);
    RunTarn5Sequence(LineSection, static_cast<uint32_t>(frame.height + frame.dummy), 0, camera);
    StartDma(pixels, camera);
    AwaitTriggerForRead(camera);
    record.Ops.ResetLink(camera);
    ExposeAndAnnounce(shutter, camera);
    return FetchLines(form, frame, camera);
}

// Rows can be skipped only when the exposure is over, so the lines are not armed.
int32_t ReadWindow(const ReadForm& form, int32_t shutter, int32_t y, BusFrame frame, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    frame.skew = record.LineSkew;
    const uint64_t pixels = form.dmaPixels(frame);
    if (GrowDma(pixels, camera) != ErrorNone) return ErrorDmaBuffer;
    ClearForRead(camera);
    StopStream(camera);
    AwaitTriggerForRead(camera);
    ExposeAndAnnounce(shutter, camera);
    RunTarn5Sequence(RowSection, RowsToSkip(form.skipDivisor, y, camera), 1, camera);
    FlushRegisterBy(RunTarn5Sequence, camera);
    StartDma(pixels, camera);
    RunTarn5Sequence(LineSection, static_cast<uint32_t>(frame.height), 2, camera);
    record.Ops.ResetLink(camera);
    return FetchLines(form, frame, camera);
}

int32_t ReadWholeFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                       int32_t camera)
{
    return ReadFrame(WholeFrameForm, shutter, FullFrame(width, height, buffer, camera), camera);
}

int32_t ReadWholeWindow(int32_t shutter, int32_t, int32_t y, int32_t width, int32_t height,
                        uint16_t* buffer, int32_t camera)
{
    return ReadWindow(WholeFrameForm, shutter, y, WindowFrame(width, height, buffer), camera);
}

int32_t ReadFrameByLines(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                         int32_t camera)
{
    return ReadFrame(LineForm, shutter, FullFrame(width, height, buffer, camera), camera);
}

int32_t ReadWindowByLines(int32_t shutter, int32_t, int32_t y, int32_t width, int32_t height,
                          uint16_t* buffer, int32_t camera)
{
    return ReadWindow(LineForm, shutter, y, WindowFrame(width, height, buffer), camera);
}

} // namespace

const CameraOps Tarn5BusOps = {
    .OpenCamera = OpenTarn5Bus,
    .Poke = NoPoke,
    .Peek = NoPeek,
    .PokeW = NoPoke,
    .PeekW = NoPeek,
    .ReadTemperature = ReadTarn5Temperature,
    .ReadRegister = ReadBusRegister,
    .WriteRegister = WriteBusRegister,
    .ResetLink = ResetBusLink,
};

const CameraOps Tarn5BusFrameOps = {.ReadFrame = ReadWholeFrame, .ReadWindow = ReadWholeWindow};
const CameraOps Tarn5BusLineOps = {.ReadFrame = ReadFrameByLines, .ReadWindow = ReadWindowByLines};
