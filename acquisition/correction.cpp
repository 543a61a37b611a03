#include "acquisition/correction.h"

#include "core/open_close.h"
#include "core/record.h"
#include "core/timer_service.h"

namespace {

constexpr int32_t LastMode = 4;
constexpr int32_t Samples[LastMode + 1] = {0, 3, 5, 7, 9};

using ModeSetter = void (*)(int32_t mode, int32_t camera);

// The bits of `keep` stay, those of `set` are added.
void ChangeRegister(int32_t reg, int32_t keep, int32_t set, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.Registers[reg] = static_cast<uint16_t>((record.Registers[reg] & keep) | set);
    record.Ops.WriteRegister(reg, record.Registers[reg], camera);
}

// Tarn_IV_PLUS: register 18 has the mode in bits 2 and 3 over an enable, the upper byte
// of register 8 the samples but one.
void Tarn4PlusDnr(int32_t mode, int32_t camera)
{
    if (mode != 0) {
        ChangeRegister(18, 0xFFF2, mode * 4 - 3, camera);
        ChangeRegister(8, 0x00FF, (Samples[mode] - 1) << 8, camera);
    } else {
        ChangeRegister(18, 0xFFFE, 0, camera);
        ChangeRegister(8, 0x00FF, 0, camera);
    }
}

void Tarn4PlusDecimation(int32_t mode, int32_t camera)
{
    CameraTable[camera].DnrMode = 0;
    ChangeRegister(8, 0x00FF, 0, camera);
    ChangeRegister(18, 0xFFF2, mode != 0 ? mode * 4 - 3 : 0, camera);
}

// BRIAR-R3-PLUS: bits 10 to 12 of register 12 are mode and enable. Register 18 has no
// shadow.
void BriarR3PlusMode(int32_t mode, int32_t camera)
{
    const int32_t keep = mode != 0 ? ~0x0C00 : ~0x1C00;
    ChangeRegister(12, keep, mode != 0 ? (mode - 1) << 10 | 0x1000 : 0, camera);
}

void BriarR3PlusDnr(int32_t mode, int32_t camera)
{
    BriarR3PlusMode(mode, camera);
    const int32_t samples = mode != 0 ? (Samples[mode] - 1) | 0x780 : 0x700;
    CameraTable[camera].Ops.WriteRegister(18, samples, camera);
}

void BriarR3PlusDecimation(int32_t mode, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (record.DnrMode != 0) {
        record.DnrMode = 0;
        ChangeRegister(12, 0xE3FF, 0, camera);
        record.Ops.WriteRegister(18, 0, camera);
    }
    BriarR3PlusMode(mode, camera);
}

// Tarn_V: the upper byte of register 11 is cleared as well, run bits and all.
void Tarn5Decimation(int32_t mode, int32_t camera)
{
    CameraTable[camera].DnrMode = 0;
    ChangeRegister(11, 0x00F8, mode != 0 ? mode + 3 : 0, camera);
}

// HERON_Plus, OSPREY, OSPREY_Plus: a field of register 28, above the lines of the front
// end.
void FrontEndDecimation(int32_t mode, int32_t camera)
{
    CameraTable[camera].DnrMode = 0;
    ChangeRegister(28, 0x008F, mode != 0 ? (mode * 2 - 1) << 4 : 0, camera);
}

// WREN, TOLM_E: a command of their own, which leaves DnrMode alone.
void CommandDecimation(int32_t mode, int32_t camera)
{
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.SetDecimation != nullptr) extras.SetDecimation(mode, camera);
}

struct CorrectionRow {
    int32_t platform;
    ModeSetter dnr; // null: nothing to do
    ModeSetter decimation;
};

constexpr CorrectionRow CorrectionRows[] = {
    {25, Tarn4PlusDnr, Tarn4PlusDecimation},     {28, nullptr, Tarn5Decimation},
    {47, BriarR3PlusDnr, BriarR3PlusDecimation}, {61, nullptr, FrontEndDecimation},
    {200, nullptr, FrontEndDecimation},          {205, nullptr, FrontEndDecimation},
    {300, nullptr, CommandDecimation},           {450, nullptr, CommandDecimation},
};

void Apply(ModeSetter CorrectionRow::*setting, int32_t mode, int32_t camera)
{
    StopNow(camera);
    Select(camera);
    for (const CorrectionRow& row : CorrectionRows) {
        if (row.platform == CameraTable[camera].PlatformCode && row.*setting != nullptr) {
            (row.*setting)(mode, camera);
        }
    }
    StartNow(camera);
}

} // namespace

void SetDNR(int32_t mode, int32_t camera)
{
    if (mode < 0 || mode > LastMode) return;
    Apply(&CorrectionRow::dnr, mode, camera);
    CameraTable[camera].DnrMode = mode;
}

int32_t GetDNR(int32_t camera)
{
    return CameraTable[camera].DnrMode;
}

void SetBitDecimation(int32_t mode, int32_t camera)
{
    if (mode < 0 || mode > LastMode) return;
    Apply(&CorrectionRow::decimation, mode, camera);
}
