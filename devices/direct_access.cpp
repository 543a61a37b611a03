#include "devices/direct_access.h"

#include "core/open_close.h"
#include "core/record.h"
#include "core/timer_service.h"

namespace {

constexpr int32_t OspreyPlus = 205;
constexpr int32_t AdSamples = 64;

bool HasByteRegisters(const CameraRecord& record)
{
    return record.PlatformCode == 70 || record.PlatformCode == 71;
}

// The shadow or'ed with `bits`, then the shadow.
void PulseRegister1(uint16_t bits, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    record.Ops.WriteRegister(1, record.Registers[1] | bits, camera);
    record.Ops.WriteRegister(1, record.Registers[1], camera);
}

// On this camera ReadRegister reads status words.
uint32_t ReadAdChannel(uint32_t channel, int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    ops.WriteRegister(27, static_cast<int32_t>(channel * 4 & 0xFF), camera);
    PulseRegister1(4, camera);
    PulseRegister1(1, camera);
    const uint32_t low = ops.ReadRegister(36, camera) & 0xFFu;
    return (ops.ReadRegister(37, camera) & 0x0Fu) << 8 | low;
}

} // namespace

void WRReg(int32_t reg, int32_t value, int32_t camera)
{
    CameraTable[camera].Ops.WriteRegister(reg, value, camera);
}

uint16_t RDReg(int32_t reg, int32_t camera)
{
    return CameraTable[camera].Ops.ReadRegister(reg, camera);
}

uint16_t RMReg(int32_t reg, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (HasByteRegisters(record)) return record.ByteRegisters[reg & 0xFF];
    return record.Registers[reg & (RegisterCount - 1)];
}

void WMReg(int32_t reg, int32_t value, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (HasByteRegisters(record)) {
        record.ByteRegisters[reg & 0xFF] = static_cast<uint8_t>(value & 0xFF);
    } else {
        record.Registers[reg & (RegisterCount - 1)] = static_cast<uint16_t>(value & 0xFFFF);
    }
}

uint32_t GetStatus(int32_t number, int32_t camera)
{
    return CameraTable[camera].Ops.ReadStatus(number, camera);
}

void Poke(int32_t address, int32_t value, int32_t camera)
{
    CameraTable[camera].Ops.Poke(static_cast<uint32_t>(address), static_cast<uint32_t>(value),
                                 camera);
}

int32_t Peek(int32_t address, int32_t camera)
{
    return static_cast<int32_t>(
        CameraTable[camera].Ops.Peek(static_cast<uint32_t>(address), camera));
}

void PokeW(int32_t address, int32_t value, int32_t camera)
{
    CameraTable[camera].Ops.PokeW(static_cast<uint32_t>(address), static_cast<uint32_t>(value),
                                  camera);
}

int32_t PeekW(int32_t address, int32_t camera)
{
    return static_cast<int32_t>(
        CameraTable[camera].Ops.PeekW(static_cast<uint32_t>(address), camera));
}

int32_t QuerySts(int32_t which, int32_t camera)
{
    Select(camera);
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.QueryStatus == nullptr) return 0;
    return extras.QueryStatus(which, camera);
}

int32_t GetAD(int32_t channel, int32_t camera)
{
    if (CameraTable[camera].PlatformCode != OspreyPlus) return 0;
    Select(camera);
    StopNow(camera);
    int32_t sum = 0;
    int32_t counted = 0;
    for (int32_t i = 0; i < AdSamples; ++i) {
        const int32_t sample =
            static_cast<int32_t>(ReadAdChannel(static_cast<uint32_t>(channel), camera));
        if (sample == 0) continue;
        sum += sample;
        ++counted;
    }
    StartNow(camera);
    return counted == 0 ? 0 : sum / counted;
}
