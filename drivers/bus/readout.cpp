// Frames and windows of the bus cameras in three forms: a whole frame by DMA, a line
// by DMA, a pixel by the link's read cycles.
#include <algorithm>
#include <cstring>

#include "core/errors.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "core/status.h"
#include "devices/exposure.h"
#include "devices/shutter.h"
#include "drivers/bus/bus_camera.h"
#include "links/card.h"
#include "links/delay.h"
#include "links/readout.h"
#include "platform/system.h"

namespace {

constexpr uint32_t StreamAddress = 0xFFE2;
constexpr int32_t SequencerControl = 0;
enum SequencerBit : uint16_t { RunSequencer = 0x40, StartFrame = 0x800 };

// Bits of the card's control register.
constexpr uint32_t ReadCycle = 0x2, AddressCycle = 0x4, StreamMode = 0x8, PixelMode = 0x10,
                   SerialStream = 0x20;
constexpr uint32_t SerialArmMs = 2;

constexpr uint64_t DmaLead = 4;    // words ahead of the first pixel of a whole frame
constexpr int32_t LineOverlap = 6; // words of the first kept line that the next one covers

constexpr uint32_t FramePollUs = 1000;
constexpr uint32_t StallPolls = 1000;
constexpr uint32_t LinePollUs = 10;
constexpr uint32_t LinePolls = 200000;

constexpr int32_t FrameReportLines = 64;
constexpr int32_t WindowReportLines = 32;
constexpr int32_t CountedBinnings = 4; // above, no dummy line lies ahead of a window

int32_t LineCount(const BusFrame& frame)
{
    return frame.height + frame.dummy;
}

uint64_t PixelCount(const BusFrame& frame, int32_t lines)
{
    return static_cast<uint64_t>(frame.width) * static_cast<uint64_t>(lines);
}

uint64_t LockedPixels(const CameraRecord& record)
{
    return record.DmaBuffer == nullptr ? 0 : record.DmaBytes / sizeof(uint16_t);
}

// --- the DMA forms ---

uint64_t PixelsOfFrame(const BusFrame& frame)
{
    return PixelCount(frame, LineCount(frame));
}

uint64_t PixelsOfLine(const BusFrame& frame)
{
    return PixelCount(frame, 1);
}

bool HasSerialStream(const CameraRecord& record)
{
    return record.SerialLink != 0 && record.SerialLinkAcknowledged != 0;
}

// The remote serializer is told how long a line is, in bytes of both lanes.
uint32_t SerialLineWord(int32_t width)
{
    return static_cast<uint32_t>(width) * 4 + 3;
}

void ArmDma(const BusFrame& frame, int32_t camera)
{
    ArmStream(frame.width, camera);
    SetReadoutPriority(1, camera);
}

int32_t TransferFrame(const BusFrame& frame, int32_t camera)
{
    const int32_t error = AwaitFrameDma(PixelsOfFrame(frame), camera);
    // Also after a stall, with what has come: required.
    const uint64_t first = PixelCount(frame, frame.dummy / 2) + DmaLead;
    CopyLocked(frame.buffer, first, PixelCount(frame, frame.height), camera);
    return error;
}

void StartNextLine(const BusFrame& frame, int32_t camera)
{
    StartDma(PixelsOfLine(frame), camera);
    if (!HasSerialStream(CameraTable[camera])) return;
    WriteCard(CardDataReg, SerialLineWord(frame.width), camera);
    WriteCard(CardControlReg, ReadCard(CardControlReg, camera), camera);
}

// Line 0 has been started together with the sequence.
int32_t TransferLines(const BusFrame& frame, int32_t camera)
{
    const int32_t lines = LineCount(frame);
    uint16_t* target = frame.buffer;
    for (int32_t line = 0; line < lines; ++line) {
        const int32_t error = AwaitLineDma(camera);
        if (error != ErrorNone) return error;
        if (IsKept(frame, line)) {
            CopyLocked(target, 0, PixelsOfLine(frame), camera);
            target += LineAdvance(frame, line);
        }
        if (line + 1 < lines) StartNextLine(frame, camera);
        ReportLine(frame, line, camera);
    }
    return ErrorNone;
}

// --- the form by pixels ---

void ArmPixels(const BusFrame&, int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    SetReadoutPriority(1, camera);
    ops.ResetLink(camera);
    ops.ReadData(camera);
}

int32_t TransferPixels(const BusFrame& frame, int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    const int32_t lines = LineCount(frame);
    uint16_t* target = frame.buffer;
    for (int32_t line = 0; line < lines; ++line) {
        const bool kept = IsKept(frame, line);
        for (int32_t column = 0; column < frame.width; ++column) {
            if (ops.WaitReady(camera) != 0) return ErrorLinkFailure;
            const uint16_t pixel = ops.ReadData(camera);
            if (kept) *target++ = pixel;
        }
        ReportLine(frame, line, camera);
    }
    return ErrorNone;
}

// --- frame and window ---

uint64_t DmaPixelsOf(const ReadForm& form, const BusFrame& frame)
{
    return form.dmaPixels == nullptr ? 0 : form.dmaPixels(frame);
}

void StartLines(int32_t lines, int32_t camera)
{
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.BeforeLines != nullptr) extras.BeforeLines(camera);
    RunSequence(LineSection, static_cast<uint32_t>(lines), 0, camera);
}

int32_t FetchAndEnd(const ReadForm& form, const BusFrame& frame, int32_t camera)
{
    const DriverExtras& extras = ExtrasOf(camera);
    const int32_t error = FetchFrame(form, frame, camera);
    if (extras.AfterRead != nullptr) extras.AfterRead(camera);
    return error;
}

int32_t ReadWholeFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                       int32_t camera)
{
    return ReadBusFrame(WholeFrameForm, shutter, width, height, buffer, camera);
}

int32_t ReadWholeWindow(int32_t shutter, int32_t, int32_t y, int32_t width, int32_t height,
                        uint16_t* buffer, int32_t camera)
{
    return ReadBusWindow(WholeFrameForm, shutter, y, width, height, buffer, camera);
}

int32_t ReadFrameByLines(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                         int32_t camera)
{
    return ReadBusFrame(LineForm, shutter, width, height, buffer, camera);
}

int32_t ReadWindowByLines(int32_t shutter, int32_t, int32_t y, int32_t width, int32_t height,
                          uint16_t* buffer, int32_t camera)
{
    return ReadBusWindow(LineForm, shutter, y, width, height, buffer, camera);
}

int32_t ReadFrameByPixels(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                          int32_t camera)
{
    return ReadBusFrame(PixelForm, shutter, width, height, buffer, camera);
}

int32_t ReadWindowByPixels(int32_t shutter, int32_t, int32_t y, int32_t width, int32_t height,
                           uint16_t* buffer, int32_t camera)
{
    return ReadBusWindow(PixelForm, shutter, y, width, height, buffer, camera);
}

// A camera of an array has been exposed together with the others.
int32_t ReadArrayByPixels(int32_t, int32_t width, int32_t height, uint16_t* buffer, int32_t camera)
{
    const BusFrame frame = FullFrame(width, height, buffer, camera);
    ReportProgress("Image downloading", 0, camera);
    StartLines(LineCount(frame), camera);
    return FetchAndEnd(PixelForm, frame, camera);
}

} // namespace

const ReadForm WholeFrameForm = {PixelsOfFrame, 2, ArmDma, TransferFrame};
const ReadForm LineForm = {PixelsOfLine, 2, ArmDma, TransferLines};
const ReadForm PixelForm = {nullptr, 1, ArmPixels, TransferPixels};

const CameraOps DmaFrameOps = {.ReadFrame = ReadWholeFrame, .ReadWindow = ReadWholeWindow};
const CameraOps DmaLineOps = {.ReadFrame = ReadFrameByLines, .ReadWindow = ReadWindowByLines};
const CameraOps PixelReadOps = {.ReadFrame = ReadFrameByPixels, .ReadWindow = ReadWindowByPixels};
const CameraOps PixelTimedOps = {.ReadTimed = ReadFrameByPixels};
const CameraOps BusArrayOps = {.ReadArray = ReadArrayByPixels};

BusFrame FullFrame(int32_t width, int32_t height, uint16_t* buffer, int32_t camera)
{
    const int32_t dummy = DummyLines(CameraTable[camera]);
    return {.width = std::max(width, 0),
            .height = std::max(height, 0),
            .dummy = dummy,
            .firstKept = dummy / 2 + 1,
            .reportEvery = FrameReportLines,
            .skew = LineOverlap,
            .buffer = buffer};
}

BusFrame WindowFrame(int32_t width, int32_t height, uint16_t* buffer)
{
    return {.width = std::max(width, 0),
            .height = std::max(height, 0),
            .dummy = 0,
            .firstKept = 0,
            .reportEvery = WindowReportLines,
            .skew = LineOverlap,
            .buffer = buffer};
}

bool IsKept(const BusFrame& frame, int32_t line)
{
    return line >= frame.firstKept && line - frame.firstKept < frame.height;
}

int32_t LineAdvance(const BusFrame& frame, int32_t line)
{
    const int32_t overlap = line == frame.firstKept ? frame.skew : 0;
    return std::max(frame.width - overlap, 0);
}

int32_t GrowDma(uint64_t pixels, int32_t camera)
{
    if (pixels <= LockedPixels(CameraTable[camera])) return ErrorNone;
    if (pixels > UINT32_MAX || AllocateDma(static_cast<uint32_t>(pixels), camera) != 0) {
        return ErrorDmaBuffer;
    }
    return ErrorNone;
}

void ClearForRead(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if ((LoadFlag(record.Options) & OptionKeepClean) != 0) record.Ops.ClearSensor(camera);
}

void AwaitTriggerForRead(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if ((LoadFlag(record.Options) & OptionExternalTrigger) == 0) return;
    if (LoadFlag(record.BreakFlag) == 0) Trigger(1, camera);
}

void ExposeAndAnnounce(int32_t shutter, int32_t camera)
{
    double exposure = CameraTable[camera].ExposureTime;
    ExposureControl("Exposure", &exposure, shutter, camera);
    ReportProgress("Image downloading", 0, camera);
}

void ExposeForRead(int32_t shutter, int32_t camera)
{
    ClearForRead(camera);
    AwaitTriggerForRead(camera);
    ExposeAndAnnounce(shutter, camera);
}

// The form by pixels counts all dummy lines, those by DMA half of them: required.
uint32_t RowsToSkip(int32_t divisor, int32_t y, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const int64_t rows = int64_t{y} * record.VerBinning;
    const int32_t dummy = record.VerBinning <= CountedBinnings ? DummyLines(record) / divisor : 0;
    return static_cast<uint32_t>(std::clamp<int64_t>(rows + dummy, 0, UINT32_MAX));
}

int32_t FetchFrame(const ReadForm& form, const BusFrame& frame, int32_t camera)
{
    if (form.dmaPixels != nullptr) StartDma(form.dmaPixels(frame), camera);
    StartStream(camera);
    form.arm(frame, camera);
    const int32_t error = form.transfer(frame, camera);
    SetReadoutPriority(0, camera);
    ReportProgress(nullptr, 100, camera);
    ReadoutEnd(camera);
    WriteShadow(SequencerControl, camera);
    return error;
}

int32_t ReadBusFrame(const ReadForm& form, int32_t shutter, int32_t width, int32_t height,
                     uint16_t* buffer, int32_t camera)
{
    const BusFrame frame = FullFrame(width, height, buffer, camera);
    const int32_t error = GrowDma(DmaPixelsOf(form, frame), camera);
    if (error != ErrorNone) return error;
    ExposeForRead(shutter, camera);
    StartLines(LineCount(frame), camera);
    return FetchAndEnd(form, frame, camera);
}

int32_t ReadBusWindow(const ReadForm& form, int32_t shutter, int32_t y, int32_t width,
                      int32_t height, uint16_t* buffer, int32_t camera)
{
    const BusFrame frame = WindowFrame(width, height, buffer);
    const int32_t error = GrowDma(DmaPixelsOf(form, frame), camera);
    if (error != ErrorNone) return error;
    ExposeForRead(shutter, camera);
    RunSequence(RowSection, RowsToSkip(form.skipDivisor, y, camera), 1, camera);
    FlushRegisterBy(RunSequence, camera);
    StartLines(LineCount(frame), camera);
    return FetchAndEnd(form, frame, camera);
}

void ReportLine(const BusFrame& frame, int32_t line, int32_t camera)
{
    if (line == 0 || line % frame.reportEvery != 0 || frame.height == 0) return;
    ReportProgress(nullptr, static_cast<int32_t>(int64_t{line} * 100 / frame.height), camera);
}

void ArmStream(int32_t width, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (!HasSerialStream(record)) {
        record.Ops.ResetLink(camera);
        return;
    }
    const uint32_t control =
        (ReadCard(CardControlReg, camera) & ~AddressCycle) | ReadCycle | PixelMode;
    WriteCard(CardControlReg, control, camera);
    System.clock.Sleep(SerialArmMs);
    WriteCard(CardDataReg, SerialLineWord(width), camera);
    WriteCard(CardControlReg, (control & ~(ReadCycle | PixelMode)) | StreamMode | SerialStream,
              camera);
}

void StartStream(int32_t camera)
{
    CameraTable[camera].Ops.WriteAddress(StreamAddress, camera);
    WriteRegisterWith(SequencerControl, StartFrame, camera);
    WriteRegisterWith(SequencerControl, RunSequencer, camera);
}

// The card moves words of 32 bits: the last pixel of an odd count stays behind.
void StartDma(uint64_t pixels, int32_t camera)
{
    StartDmaWords(static_cast<uint32_t>(pixels / 2), camera);
}

void StartDmaWords(uint32_t words, int32_t camera)
{
    WriteCard(CardDmaAddressReg, CameraTable[camera].DmaAddress / 4, camera);
    WriteCard(CardDmaCountReg, words, camera);
    WriteCard(CardDmaControlReg, CardDmaStart, camera);
}

int32_t AwaitFrameDma(uint64_t pixels, int32_t camera)
{
    const uint32_t total = static_cast<uint32_t>(pixels / 2);
    uint32_t left = total;
    for (uint32_t polls = StallPolls; left != 0 && polls != 0; --polls) {
        DelayMicroseconds(FramePollUs, camera);
        const uint32_t now = ReadCard(CardDmaCountReg, camera);
        if (now >= left) continue;
        left = now;
        polls = StallPolls + 1;
        const uint64_t percent = uint64_t{total - left} * 100 / total;
        if (percent != 0) ReportProgress(nullptr, static_cast<int32_t>(percent), camera);
    }
    return left == 0 ? ErrorNone : ErrorLinkFailure;
}

int32_t AwaitLineDma(int32_t camera)
{
    for (uint32_t polls = 0; polls < LinePolls; ++polls) {
        if (ReadCard(CardDmaCountReg, camera) == 0) return ErrorNone;
        DelayMicroseconds(LinePollUs, camera);
    }
    return ErrorLinkFailure;
}

void CopyLocked(uint16_t* target, uint64_t first, uint64_t count, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint64_t locked = LockedPixels(record);
    if (first >= locked || count == 0) return;
    memcpy(target, record.DmaBuffer + first, std::min(count, locked - first) * sizeof(uint16_t));
}
