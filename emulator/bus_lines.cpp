// Serial devices on bits of the registers: the analog front end, the camera memory,
// the cooler's converter, the clock synthesiser.
#include "emulator/bus_state.h"

namespace {

constexpr uint32_t FrontEndBits = 16; // a lead-in, 3 of the address, 12 of the value
constexpr uint32_t BriarGainBits = 7;
constexpr uint32_t DriveBits = 12;

// Register 11.
constexpr uint16_t FrontEndSelect = 0x0010;
constexpr uint16_t FrontEndData = 0x0020;
constexpr uint16_t FrontEndClock = 0x0040;

// Register 12. The camera memory shares data and clock with the cooler's converter.
constexpr uint16_t DriveSelect = 0x0002;
constexpr uint16_t LineClock = 0x0004;
constexpr uint16_t LineData = 0x0008;
constexpr uint16_t MemorySelect = 0x0010;
constexpr uint16_t SynthesiserClock = 0x0100;
constexpr uint16_t SynthesiserData = 0x0200;
constexpr uint16_t NotUnit1 = 0x0080;
constexpr uint16_t NoUnit = 0x8000;

bool IsBriar(const EmuBusState& camera)
{
    return camera.setup.platform >= 40 && camera.setup.platform <= 42;
}

// Where the words of the unit that register 12 selects begin; 16: none is.
uint32_t UnitWords(const EmuBusState& camera)
{
    if (camera.setup.platform != 80 && camera.setup.platform != 30) return 0;
    if (camera.registers[12] & NoUnit) return 16;
    return camera.registers[12] & NotUnit1 ? 0 : 8;
}

void TakeFrontEndWord(EmuBusState* camera)
{
    const uint32_t unit = UnitWords(*camera);
    if (camera->gain.count != FrontEndBits || unit >= 16) return;
    camera->gainWords[unit + (camera->gain.bits >> 12 & 7u)] = camera->gain.bits & 0xFFFu;
}

// The select line is idle at 1 on BRIAR and takes seven bits at 0.
void FrontEnd(EmuBusState* camera, uint16_t before, uint16_t now)
{
    const bool briar = IsBriar(*camera);
    const bool was = ((before & FrontEndSelect) != 0) != briar;
    const bool selected = ((now & FrontEndSelect) != 0) != briar;
    if (selected && !was) camera->gain = {};
    if (selected && (now & ~before & FrontEndClock)) {
        EmuShiftIn(&camera->gain, (now & FrontEndData) != 0);
    }
    if (selected || !was) return;
    if (!briar) {
        TakeFrontEndWord(camera);
    } else if (camera->gain.count == BriarGainBits) {
        camera->gainWords[0] = camera->gain.bits;
    }
}

// The cooler's bit, but on 60.
constexpr uint16_t CoolerBit = 0x0020;

} // namespace

void EmuAnalogLines(EmuBusState* camera, uint16_t before, uint16_t now)
{
    FrontEnd(camera, before, now);
}

void EmuDriveLines(EmuBusState* camera, uint16_t before, uint16_t now)
{
    const bool was = (before & DriveSelect) != 0;
    const bool selected = (now & DriveSelect) != 0;
    if (selected && !was) camera->drive = {};
    if (selected && (now & ~before & LineClock)) {
        EmuShiftIn(&camera->drive, (now & LineData) != 0);
    }
    if (!was || selected || camera->drive.count != DriveBits) return;
    EmuDriveCooler(camera, camera->drive.bits, camera->coolerOn);
}

void EmuControlLines(EmuBusState* camera, uint16_t before, uint16_t now)
{
    EmuEepromLines(&camera->eeprom, (now & MemorySelect) != 0, (now & LineClock) != 0,
                   (now & LineData) != 0);
    EmuDriveLines(camera, before, now);
    if (camera->setup.platform != 60 && (before ^ now) & CoolerBit) {
        EmuDriveCooler(camera, camera->driveCode, (now & CoolerBit) != 0);
    }
    const bool synthesiser = camera->setup.platform == 44 || camera->setup.platform == 47;
    if (synthesiser && (now & ~before & SynthesiserClock)) {
        EmuClockBit(&camera->clockTrain, (now & SynthesiserData) != 0);
    }
}
