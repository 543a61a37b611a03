// The sequencer of the bus cameras: it plays a section of the pattern memory from
// a page on, over and over, until its repeat counter has run out.
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "platform/system.h"

namespace {

enum SequencerRegister : int32_t { SequencerControl = 0, SequencerPage = 2 };

enum SequencerBit : uint16_t {
    ClearPointer = 0x20, // pulse
    Run = 0x40,
    LoadRepeat = 0x80, // while set, the next address is the repeat count
    LatchEnd = 0x100,  // pulse: the last address is the section's end
};

constexpr uint32_t LoadMs = 2;
constexpr int32_t CountedBinnings = 4;
constexpr uint32_t StreamAddress = 0xFFE2;

uint32_t Positive(int32_t value)
{
    return value > 0 ? static_cast<uint32_t>(value) : 0;
}

} // namespace

void RunSequence(BusSequence sequence, uint32_t repeat, int32_t wait, int32_t camera)
{
    if (repeat == 0) return;
    CameraRecord& record = CameraTable[camera];
    const uint16_t* entry = record.SequenceTable + size_t{2} * sequence;
    const uint16_t start = entry[0];
    const uint32_t end = entry[1];
    record.Registers[SequencerControl] &= static_cast<uint16_t>(~Run);
    PulseRegister(SequencerControl, ClearPointer, camera);
    StoreRegister(SequencerPage, start >> 8, camera);
    WriteRegisterWith(SequencerControl, LoadRepeat, camera);
    record.Ops.WriteAddress(repeat, camera);
    System.clock.Sleep(LoadMs);
    WriteShadow(SequencerControl, camera);
    record.Ops.WriteAddress(end, camera);
    System.clock.Sleep(LoadMs);
    PulseRegister(SequencerControl, LatchEnd, camera);
    if (wait == 0) return;
    WriteRegisterWith(SequencerControl, Run, camera);
    if (record.InterfaceType == InterfacePort0) record.Ops.WriteAddress(StreamAddress, camera);
    AwaitSection(sequence, repeat, camera);
}

void AwaitSection(BusSequence sequence, uint32_t repeat, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint32_t end = record.SequenceTable[size_t{2} * sequence + 1];
    // In 32 bits, and with the last index for the length: required.
    System.clock.Sleep(end * record.WordPeriodNs * repeat / 1000000 + 1);
}

int32_t DummyLines(const CameraRecord& record)
{
    const int32_t binning = record.VerBinning;
    return binning >= 1 && binning <= CountedBinnings ? record.Ccd.Dummy[binning - 1] : 1;
}

void ClearSensorBy(SequencePlayer play, int32_t camera)
{
    const CcdDefinition& ccd = CameraTable[camera].Ccd;
    play(RowSection, Positive(ccd.Ypix + ccd.Dummy[0]), 1, camera);
    FlushRegisterBy(play, camera);
    FlushRegisterBy(play, camera);
}

void FlushRegisterBy(SequencePlayer play, int32_t camera)
{
    play(PixelSection, Positive(CameraTable[camera].Ccd.HorRegSize), 1, camera);
}

void ShiftBusRows(uint32_t rows, int32_t camera)
{
    RunSequence(RowSection, rows, 1, camera);
}

void ClearBusSensor(int32_t camera)
{
    ClearSensorBy(RunSequence, camera);
}

void ClearBusOnce(int32_t camera)
{
    FlushRegisterBy(RunSequence, camera);
}
