// The temperature of the bus cameras: the mean of a burst of conversions, the first
// of which are dropped.
#include "core/flags.h"
#include "core/record.h"
#include "core/status.h"
#include "drivers/bus/bus_camera.h"
#include "links/byte_link.h"
#include "links/printer_port.h"
#include "links/readout.h"

namespace {

constexpr uint32_t ConvertAddress = 0xFFEE;
constexpr uint32_t StreamAddress = 0xFFE2;
constexpr int32_t SequencerControl = 0;
constexpr int32_t ConverterRegister = 11;
constexpr uint16_t NextConversion = 0x1;  // of register 0
constexpr uint16_t StartConverter = 0x80; // of register 11
constexpr uint16_t RunSequencer = 0x40;

constexpr uint32_t Rounds = 80;
constexpr uint32_t DroppedRounds = 16;
constexpr uint32_t MeanShift = 6; // of the 64 rounds that count

// The register's pulses are two bus cycles long.
void DoublePulse(int32_t reg, uint16_t bits, int32_t camera)
{
    WriteRegisterWith(reg, bits, camera);
    WriteRegisterWith(reg, bits, camera);
    WriteShadow(reg, camera);
    WriteShadow(reg, camera);
}

uint16_t ReadConversion(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    // On the card the stream mode stays off: the byte cable's form, whatever the cable.
    if (record.InterfaceType == InterfaceCard2 || record.InterfaceType == InterfaceCard4) {
        ByteResetLink(camera);
    } else {
        record.Ops.ResetLink(camera);
    }
    const uint16_t value = record.Ops.ReadData(camera);
    if (record.InterfaceType == InterfacePort0) ReleasePrinterPort(camera);
    return value;
}

void EndBurst(int32_t camera)
{
    SetReadoutPriority(0, camera);
    ReadoutEnd(camera);
    WriteShadow(SequencerControl, camera);
}

} // namespace

uint32_t ConvertTemperature(uint16_t mask, uint16_t flip, int32_t camera)
{
    uint32_t sum = 0;
    SetReadoutPriority(1, camera);
    CameraTable[camera].Ops.WriteAddress(ConvertAddress, camera);
    DoublePulse(ConverterRegister, StartConverter, camera);
    for (uint32_t round = 0; round < Rounds; ++round) {
        DoublePulse(SequencerControl, NextConversion, camera);
        const uint32_t value = (ReadConversion(camera) ^ flip) & mask;
        if (round >= DroppedRounds) sum += value;
    }
    EndBurst(camera);
    return sum >> MeanShift;
}

bool ConvertByPattern(uint32_t* mean, int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    uint32_t sum = 0;
    bool ready = true;
    SetReadoutPriority(1, camera);
    ops.WriteAddress(ConvertAddress, camera);
    RunSequence(IdleSection, Rounds, 0, camera);
    ops.WriteAddress(StreamAddress, camera);
    WriteRegisterWith(SequencerControl, RunSequencer, camera);
    ops.ResetLink(camera);
    for (uint32_t round = 0; round < Rounds && ready; ++round) {
        ready = ops.WaitReady(camera) == 0;
        if (!ready) break;
        const uint32_t value = ops.ReadData(camera);
        if (round >= DroppedRounds) sum += value;
    }
    EndBurst(camera);
    *mean = sum >> MeanShift;
    return ready;
}

void StoreTemperature(double celsius, int32_t camera)
{
    StoreHeadTemperature(HeadIndex(CameraTable[camera]), celsius, camera);
}

void StoreHeadTemperature(int32_t head, double celsius, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StoreReading(&record.CurrentTemperature,
                 (celsius + record.TemperatureOffset[head]) * record.TemperatureSpan[head]);
}
