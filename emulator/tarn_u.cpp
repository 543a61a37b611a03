// Tarn_U: byte registers in front of a processor, which takes a command by a strobe and
// its word from two of them.
#include <algorithm>

#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

enum Register : uint8_t {
    WordLow = 0,
    WordHigh = 1,
    Strobe = 4,
    Wheel = 7,
    WheelLines = 11,
    WheelByte = 13,
    WheelOutput = 14,
    Busy = 28,
    AnswerLow = 29,
    AnswerHigh = 30,
    FrameData = 31,
};

constexpr uint8_t StrobeUp = 0x80;
constexpr uint8_t WheelBit = 0x02; // busy with nibbles, ready with bytes
constexpr uint8_t WheelNibble = 0x0F, WheelStrobe = 0x02;

enum Parameter : uint32_t {
    FirstBin = 6,
    FirstLine = 7,
    Width = 8,
    Height = 9,
    RegisterSize = 10,
    Leading = 11,
    HorBin = 12,
    VerBin = 13,
};

constexpr uint64_t CommandUs = 200;
constexpr uint16_t Firmware = 4098;
constexpr uint32_t FullScale = 4095;
constexpr double CountsPerKelvin = 7870 / 38.146972;

uint16_t WordOf(const EmuUsbState& camera)
{
    const uint16_t* const bytes = camera.registers + EmuTarnUByte;
    return static_cast<uint16_t>(bytes[WordLow] | bytes[WordHigh] << 8);
}

// --- commands ---

void GetVersion(EmuUsbState* camera)
{
    camera->letter.answer = camera->setup.version;
}

void GetFirmware(EmuUsbState* camera)
{
    camera->letter.answer = camera->setup.firmware != 0 ? camera->setup.firmware : Firmware;
}

void GetTemperature(EmuUsbState* camera)
{
    camera->conversion = EmuUsbThermometer(*camera, CountsPerKelvin, 0xFFFF);
    camera->letter.answer = camera->conversion;
}

// There is no switch: the cooler is on while its fan runs.
void SetDrive(EmuUsbState* camera)
{
    EmuUsbDriveCooler(camera, WordOf(*camera), camera->fan != 0, FullScale);
}

void SetFan(EmuUsbState* camera)
{
    camera->fan = WordOf(*camera);
    EmuUsbDriveCooler(camera, camera->driveCode, camera->fan != 0, FullScale);
}

void BeginRead(EmuUsbState* camera)
{
    camera->reading = true;
}

void BeginDark(EmuUsbState* camera)
{
    camera->light = false;
}

void BeginLight(EmuUsbState* camera)
{
    camera->light = true;
}

void EndExposure(EmuUsbState* camera)
{
    camera->exposures += camera->light ? 1 : 0;
}

void AddressMemory(EmuUsbState* camera)
{
    camera->memoryAddress = WordOf(*camera);
}

// Two bytes a word.
uint16_t* MemoryWord(EmuUsbState* camera)
{
    return &camera->memory[camera->memoryAddress / 2 % 64];
}

void WriteMemory(EmuUsbState* camera)
{
    *MemoryWord(camera) = WordOf(*camera);
}

void ReadMemory(EmuUsbState* camera)
{
    camera->letter.answer = *MemoryWord(camera);
}

void ArmTrigger(EmuUsbState* camera)
{
    camera->armed = WordOf(*camera) != 0;
}

struct Command {
    uint8_t number;
    void (*run)(EmuUsbState* camera);
};
const Command Commands[] = {
    {1, GetVersion},   {2, GetFirmware},    {3, GetTemperature}, {4, SetDrive},
    {5, SetFan},       {17, BeginRead},     {18, BeginDark},     {19, BeginLight},
    {20, EndExposure}, {22, AddressMemory}, {23, WriteMemory},   {24, ReadMemory},
    {25, ArmTrigger},
};

// All others only keep their word.
void Run(EmuUsbState* camera, uint8_t number)
{
    camera->registers[number % EmuTarnUByte] = WordOf(*camera);
    ++camera->commands[number];
    camera->busyUntil = std::max(camera->busyUntil, EmuNow() + CommandUs);
    for (const Command& command : Commands) {
        if (command.number == number) command.run(camera);
    }
}

// --- registers ---

void WriteWheelLines(EmuUsbState* camera, uint8_t before, uint8_t now)
{
    const uint16_t* const bytes = camera->registers + EmuTarnUByte;
    EmuWheel* const wheel = &camera->wheel;
    if (wheel->setup.kind == EmuNibbleWheel) {
        EmuWheelNibble(wheel, before & WheelNibble, now & WheelNibble);
    }
    if (wheel->setup.kind != EmuByteWheel || bytes[WheelOutput] != 0xFF) return;
    if ((before & ~now & WheelStrobe) != 0) {
        EmuWheelByte(wheel, static_cast<uint8_t>(bytes[WheelByte]));
    }
}

bool WheelShows(const EmuWheel& wheel)
{
    return wheel.setup.kind == EmuByteWheel ? EmuWheelReady(wheel) : EmuWheelBusy(wheel);
}

void Write(EmuUsbState* camera, uint8_t address, uint8_t value)
{
    uint16_t* const place = &camera->registers[EmuTarnUByte + address];
    const auto before = static_cast<uint8_t>(*place);
    const bool falls = (before & StrobeUp) != 0 && (value & StrobeUp) == 0;
    *place = value;
    if (address == Strobe && falls) Run(camera, value);
    if (address == WheelLines) WriteWheelLines(camera, before, value);
}

uint8_t Read(EmuUsbState* camera, uint8_t address)
{
    const auto kept = static_cast<uint8_t>(camera->registers[EmuTarnUByte + address]);
    switch (address) {
    case Wheel: return (kept & ~WheelBit) | (WheelShows(camera->wheel) ? WheelBit : 0);
    case Busy: return EmuNow() < camera->busyUntil ? 1 : 0;
    case AnswerLow: return static_cast<uint8_t>(camera->letter.answer);
    case AnswerHigh: return static_cast<uint8_t>(camera->letter.answer >> 8);
    default: return kept;
    }
}

void SendFrame(EmuUsbState* camera, uint32_t bytes)
{
    if (!camera->reading) return;
    camera->reading = false;
    const uint16_t* const told = camera->registers;
    const int64_t leading = camera->setup.chip.leading;
    EmuUsbFrame frame = {};
    frame.light = camera->light;
    frame.column = told[Leading] - leading + int64_t{told[FirstBin]} * told[HorBin];
    frame.row = int64_t{told[FirstLine]} * told[VerBin];
    frame.columnEnd = told[RegisterSize] - leading;
    frame.rowEnd = camera->setup.chip.rows;
    frame.hbin = told[HorBin];
    frame.vbin = told[VerBin];
    frame.width = told[Width];
    frame.words = std::min<uint64_t>(uint64_t{told[Width]} * told[Height], bytes / 2);
    EmuSendFrame(camera, frame);
}

const EmuPairLink Link = {Write, Read, FrameData, SendFrame};

void Receive(EmuUsbState* camera, const uint8_t* bytes, uint32_t count)
{
    EmuReceivePairs(camera, Link, bytes, count);
}

void PowerUp(EmuUsbState* camera)
{
    camera->reading = false;
    camera->memoryAddress = 0;
}

} // namespace

const EmuUsbDialect EmuTarnU = {PowerUp, Receive, EmuReleaseFrame};
