// A frame in steps: the host starts it when it likes, the card fetches it, and the host
// picks it up when it knows that it has come. Nothing looks at the order of the steps.
#include <algorithm>

#include "core/convert.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "devices/exposure.h"
#include "drivers/bus/bus_camera.h"
#include "links/card.h"
#include "links/readout.h"
#include "platform/system.h"

namespace {

enum ArmedRegister : int32_t {
    SequencerControl = 0,
    TimerMode = 3,
    TimerData = 5, // the two timers' low word; the high word is next
    AnalogLines = 11,
    ControlLines = 12,
};

enum SequencerBit : uint16_t { ExternalStart = 0x10, SoftwareStart = 0x1C, ArmedStart = 0x880 };
enum TimerBit : uint16_t { TimedByCamera = 0x100, ShutterDelay = 0x1000, TimerField = 0x3000 };
constexpr uint16_t TimedReadout = 0x2000;                  // of the control lines
constexpr uint16_t ReadoutField = 0x3, ReadoutTimed = 0x2; // of the analog lines
constexpr uint16_t IdleControl = 0xEF; // the external start goes, and all above bit 7: required

constexpr int32_t SoftwareMode = 1;
constexpr int32_t TriggerStatus = 7;
constexpr uint32_t TriggerSeen = 0x1000;
constexpr uint64_t DmaLead = 4; // words ahead of the first pixel
constexpr uint32_t StreamAddress = 0xFFE2;

// Counts of the camera's timers for a millisecond.
constexpr uint32_t DelayCounts = 10000;
constexpr uint32_t ExposureCounts = 100;

uint32_t ImagePixels(const CameraRecord& record)
{
    return uint32_t{record.WindowDimX} * record.WindowDimY;
}

uint32_t SettlingMs(const CameraRecord& record)
{
    return static_cast<uint32_t>(std::max(record.Config.ShutterHisteresys, 0));
}

void LoadTimer(uint32_t count, int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    ops.WriteRegister(TimerData, static_cast<int32_t>(count & 0xFFFF), camera);
    ops.WriteRegister(TimerData + 1, static_cast<int32_t>(count >> 16), camera);
}

bool TriggerStands(int32_t camera)
{
    return (CameraTable[camera].Ops.ReadStatus(TriggerStatus, camera) & TriggerSeen) != 0;
}

// Every status of a closed camera reads as all ones, and no pulse would ever end.
void AwaitTrigger(bool stands, int32_t camera)
{
    while (LoadFlag(CameraTable[camera].CameraOn) != 0 && TriggerStands(camera) != stands) {
        System.clock.Relax();
    }
}

// The trigger's edges have no limit: a flush from another thread does not end them.
void AwaitStartPulse(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    SetRegisterBits(SequencerControl, ExternalStart, camera);
    AwaitTrigger(true, camera);
    AwaitTrigger(false, camera);
    System.clock.Sleep(ToUint32(record.ExposureTime * 1000.0));
    System.clock.Sleep(SettlingMs(record));
}

void ExposeNow(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if ((LoadFlag(record.Options) & OptionExternalExposure) != 0) return;
    double exposure = record.ExposureTime;
    ExposureControl("Exposure", &exposure, 1, camera);
}

} // namespace

void ArmBusFrame(double exposure, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.Ops.WriteRegister(TimerData, 0, camera);
    SetRegisterBits(TimerMode, TimedByCamera, camera);
    StoreRegister(TimerMode,
                  static_cast<uint16_t>((record.Registers[TimerMode] & ~TimerField) | ShutterDelay),
                  camera);
    LoadTimer(static_cast<uint32_t>(record.Config.ShutterHisteresys) * DelayCounts, camera);
    ClearRegisterBits(TimerMode, TimerField, camera);
    LoadTimer(ToUint32(exposure * 1000.0) * ExposureCounts, camera);
    SetRegisterBits(ControlLines, TimedReadout, camera);
    StoreRegister(
        AnalogLines,
        static_cast<uint16_t>((record.Registers[AnalogLines] & ~ReadoutField) | ReadoutTimed),
        camera);

    const uint32_t dummy = static_cast<uint32_t>(DummyLines(record));
    RunSequence(LineSection, record.WindowDimY + dummy, 0, camera);
    StartDmaWords((ImagePixels(record) + record.WindowDimX * (dummy / 2)) / 2, camera);
    record.Ops.WriteAddress(StreamAddress, camera);
}

void StartArmedBusFrame(int32_t mode, int32_t camera)
{
    WriteRegisterWith(SequencerControl, ArmedStart, camera);
    WriteRegisterWith(SequencerControl, mode == SoftwareMode ? SoftwareStart : ExternalStart,
                      camera);
    ArmStream(CameraTable[camera].WindowDimX, camera);
}

void StartBusFrame(int32_t mode, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (mode == SoftwareMode) {
        ExposeNow(camera);
    } else {
        AwaitStartPulse(camera);
    }
    const uint32_t dummy = static_cast<uint32_t>(DummyLines(record));
    // As many lines as a line has pixels: required. The card's count says how much of
    // them arrives; it is halved with its sign.
    RunSequence(LineSection, record.WindowDimX + dummy, 0, camera);
    const auto pixels = static_cast<int32_t>(ImagePixels(record) + record.WindowDimX * dummy);
    StartDmaWords(static_cast<uint32_t>(pixels >> 1), camera);
    StartStream(camera);
    ArmStream(record.WindowDimX, camera);
}

void FetchBusFrame(uint16_t* buffer, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const auto columns = static_cast<uint64_t>(std::max<int32_t>(record.Ccd.Xpix, 0));
    const auto rows = static_cast<uint64_t>(std::max<int32_t>(record.Ccd.Ypix, 0));
    const auto above = static_cast<uint64_t>(DummyLines(record) / 2);
    CopyLocked(buffer, above * columns + DmaLead, buffer == nullptr ? 0 : columns * rows, camera);
    record.Registers[SequencerControl] &= IdleControl;
    ReadoutEnd(camera);
    WriteShadow(SequencerControl, camera);
}

void FetchArmedBusFrame(uint16_t* buffer, int32_t camera)
{
    FetchBusFrame(buffer, camera);
    ClearRegisterBits(ControlLines, TimedReadout, camera);
    ClearRegisterBits(AnalogLines, ReadoutField, camera);
}

void GiveUpBusFrame(int32_t camera)
{
    WriteCard(CardDmaCountReg, 0, camera);
    ReadoutEnd(camera);
    WriteShadow(SequencerControl, camera);
}
