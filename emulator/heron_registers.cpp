// The byte registers of HERON_Plus, OSPREY and OSPREY_Plus: one design in three
// generations, with a wire of its own each.
#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

enum Register : uint32_t {
    Command = 0,
    Convert = 1,
    Exposure = 2, // 4 bytes
    CountStarts = 5,
    Control = 6,
    Analog = 7,
    AddressLow = 12, // of the memory; of a count
    AddressHigh = 13,
    Page = 14,
    Sequencer = 16,
    DataLow = 19,
    DataHigh = 20,
    Settling = 23, // 4 bytes
    Channel = 27,
    Lines = 28,
};

enum Status : uint32_t {
    TemperatureLow = 1,
    TemperatureHigh = 2,
    Variant = 10,
    MemoryLow = 13,
    MemoryHigh = 14,
    ChannelLow = 36,
    ChannelHigh = 37,
};

// Command: leave the stream.
constexpr uint8_t LeaveStream = 12;
constexpr uint8_t LeaveStreamPlus = 38; // on 205

// Convert.
constexpr uint8_t ToConverter = 0x01;
constexpr uint8_t Sample = 0x04;
constexpr uint8_t DriveLatch = 0x08;

// Variant.
constexpr uint8_t VariantBit = 0x02;
constexpr uint8_t WheelBusy = 0x80;

// Control.
constexpr uint8_t OnTrigger = 0x01;
constexpr uint8_t CoolerOn = 0x80;

// Analog: temperature and cooler, not the front end and the other channels; commands to a
// wheel.
constexpr uint8_t Thermal = 0x10;
constexpr uint8_t WheelLines = 0x0F;

// Sequencer.
constexpr uint8_t Mode = 0x0F;
constexpr uint8_t WritesMemory = 7;
constexpr uint8_t ReadsMemory = 13;
constexpr uint8_t Start = 0x30;
constexpr uint8_t Sends = 0x40;
constexpr uint8_t ByHand = 0x80;

// Lines: the front end hears them while its strobe is up, the cooler's converter while
// Thermal is.
constexpr uint8_t LineData = 0x01;
constexpr uint8_t LineClock = 0x02;
constexpr uint8_t LineStrobe = 0x04;
constexpr uint32_t FrontEndBits = 15; // 3 of the address, 3 of nothing, 9 of the value
constexpr uint32_t DriveBits = 13;    // fan or cooler, 12 of the value
constexpr uint32_t MostDrive = 4095;
constexpr uint64_t CountUs = 10;

struct Generation {
    int32_t platform;
    uint32_t latchRepeat, latchEnd; // registers
    uint32_t store;                 // the register whose write stores a word
    bool wide;                      // words of two bytes
    uint32_t version;               // status
    uint8_t leavesStream;           // command
    double perKelvin;               // millivolts of the thermometer
    bool corrected;                 // by words 0 and 1 of camera memory
};

// clang-format off
const Generation Generations[] = {
    {61,  17, 18, DataLow,  false, 15, LeaveStream,     7.87, false},
    {200, 34, 35, DataHigh, true,  15, LeaveStream,     7.85, false},
    {205, 34, 35, 33,       true,  63, LeaveStreamPlus, 7.85, true},
};
// clang-format on

const Generation& GenerationOf(const EmuUsbState& camera)
{
    const Generation* generation = Generations;
    while (generation->platform != camera.setup.platform) ++generation;
    return *generation;
}

uint16_t Pair(const EmuUsbState& camera, uint32_t reg)
{
    return static_cast<uint16_t>(camera.registers[reg] | camera.registers[reg + 1] << 8);
}

uint64_t Long(const EmuUsbState& camera, uint32_t reg)
{
    return Pair(camera, reg) | static_cast<uint64_t>(Pair(camera, reg + 2)) << 16;
}

constexpr double CountMillivolts = 0.6103515625;

uint16_t ConvertTemperature(const EmuUsbState& camera)
{
    const Generation& generation = GenerationOf(camera);
    const double celsius = EmuTemperatureNow(camera.thermal);
    const double shown = generation.corrected
                             ? EmuUncorrected(celsius, camera.memory[0], camera.memory[1])
                             : celsius;
    return EmuKelvinCount(shown, generation.perKelvin / CountMillivolts, 4095);
}

// Channel n of the other converter sees n eighths of its range.
void ConvertSample(EmuUsbState* camera)
{
    if (!camera->sampled) return;
    camera->sampled = false;
    if (camera->registers[Analog] & Thermal) {
        camera->conversion = ConvertTemperature(*camera);
    } else {
        camera->channelCount = static_cast<uint16_t>((camera->registers[Channel] >> 2 & 7) * 512);
    }
}

void LatchDrive(EmuUsbState* camera)
{
    const EmuShiftWord word = camera->drive;
    camera->drive = {};
    if (!(camera->registers[Analog] & Thermal) || word.count != DriveBits) return;
    const uint32_t code = word.bits & 0xFFFu;
    if (word.bits >> 12 & 1u) {
        camera->fan = static_cast<uint16_t>(code);
    } else {
        EmuUsbDriveCooler(camera, code, camera->coolerOn, MostDrive);
    }
}

void WriteConvert(EmuUsbState* camera, uint8_t before, uint8_t now)
{
    const int32_t rising = now & ~before;
    if (rising & Sample) camera->sampled = true;
    if (rising & ToConverter) ConvertSample(camera);
    if (rising & DriveLatch) LatchDrive(camera);
}

void WriteCount(EmuUsbState* camera, uint8_t, uint8_t)
{
    const uint64_t exposure = Long(*camera, Exposure);
    if (exposure == 0) return;
    const uint64_t time = (Long(*camera, Settling) + exposure) * CountUs;
    EmuUsbCount(camera, time, (camera->registers[Control] & OnTrigger) != 0);
}

void WriteControl(EmuUsbState* camera, uint8_t, uint8_t now)
{
    if (!(now & OnTrigger)) camera->play.awaitsTrigger = false;
    EmuUsbDriveCooler(camera, camera->driveCode, (now & CoolerOn) != 0, MostDrive);
}

void WriteAnalog(EmuUsbState* camera, uint8_t before, uint8_t now)
{
    if (now & ~before & Thermal) camera->drive = {};
    if (camera->wheel.setup.kind != EmuNibbleWheel) return;
    EmuWheelNibble(&camera->wheel, before & WheelLines, now & WheelLines);
}

uint32_t SectionLines(uint8_t value)
{
    return (value & ByHand ? EmuByHand : 0u) | ((value & Start) == Start ? EmuStart : 0u) |
           (value & Sends ? EmuSends : 0u);
}

// With neither a hand nor the stream the sequencer is left.
void WriteSequencer(EmuUsbState* camera, uint8_t before, uint8_t now)
{
    if (!(now & (ByHand | Sends)) && before & (ByHand | Sends)) EmuUsbStopSections(camera);
    EmuUsbSections(camera, SectionLines(before), SectionLines(now), camera->registers[Page]);
}

void TakeFrontEndWord(EmuUsbState* camera)
{
    const EmuShiftWord word = camera->gain;
    camera->gain = {};
    if (word.count == FrontEndBits) camera->gainWords[word.bits >> 12 & 7u] = word.bits & 0x1FFu;
}

void WriteLines(EmuUsbState* camera, uint8_t before, uint8_t now)
{
    const int32_t rising = now & ~before;
    if (rising & LineStrobe) camera->gain = {};
    if (rising & LineClock) {
        const bool data = (now & LineData) != 0;
        if (now & LineStrobe) {
            EmuShiftIn(&camera->gain, data);
        } else if (camera->registers[Analog] & Thermal) {
            EmuShiftIn(&camera->drive, data);
        }
    }
    if (before & ~now & LineStrobe) TakeFrontEndWord(camera);
}

void WriteCommand(EmuUsbState* camera, uint8_t, uint8_t now)
{
    if (now == GenerationOf(*camera).leavesStream) EmuUsbStopSections(camera);
}

struct Effect {
    uint32_t reg;
    void (*written)(EmuUsbState* camera, uint8_t before, uint8_t now);
};
const Effect Effects[] = {
    {Command, WriteCommand}, {Convert, WriteConvert}, {CountStarts, WriteCount},
    {Control, WriteControl}, {Analog, WriteAnalog},   {Sequencer, WriteSequencer},
    {Lines, WriteLines},
};

// What lies under different numbers in the generations.
void WriteNumbered(EmuUsbState* camera, uint32_t reg)
{
    const Generation& generation = GenerationOf(*camera);
    const uint16_t address = Pair(*camera, AddressLow);
    if (reg == generation.latchRepeat) camera->repeat = address;
    if (reg == generation.latchEnd) camera->end = address;
    if (reg != generation.store || (camera->registers[Sequencer] & Mode) != WritesMemory) return;
    camera->pattern.words[address] =
        generation.wide ? Pair(*camera, DataLow) : camera->registers[DataLow];
}

uint8_t Version(EmuUsbState* camera)
{
    const auto version = static_cast<uint8_t>(camera->setup.version);
    if (camera->badLeft == 0) return version;
    --camera->badLeft;
    return static_cast<uint8_t>(~version);
}

uint8_t VariantByte(const EmuUsbState& camera)
{
    return static_cast<uint8_t>((camera.setup.variant ? VariantBit : 0) |
                                (EmuWheelBusy(camera.wheel) ? WheelBusy : 0));
}

} // namespace

void EmuHeronPowerUp(EmuUsbState* camera)
{
    camera->play = {};
    camera->drive = {};
    camera->gain = {};
    camera->sampled = false;
    camera->channelCount = 0;
    camera->badLeft = camera->setup.badStatus;
}

void EmuHeronWrite(EmuUsbState* camera, uint32_t reg, uint8_t value)
{
    uint16_t& stored = camera->registers[reg & 0x7Fu];
    const auto before = static_cast<uint8_t>(stored);
    stored = value;
    for (const Effect& effect : Effects) {
        if (effect.reg == reg) effect.written(camera, before, value);
    }
    WriteNumbered(camera, reg);
}

uint8_t EmuHeronRead(EmuUsbState* camera, uint32_t number)
{
    if (number == GenerationOf(*camera).version) return Version(camera);
    const bool memory = (camera->registers[Sequencer] & Mode) == ReadsMemory;
    const uint16_t word = camera->pattern.words[Pair(*camera, AddressLow)];
    switch (number) {
    case TemperatureLow: return static_cast<uint8_t>(camera->conversion);
    case TemperatureHigh: return static_cast<uint8_t>(camera->conversion >> 8);
    case Variant: return VariantByte(*camera);
    case MemoryLow:
        if (memory) return static_cast<uint8_t>(word);
        break;
    case MemoryHigh:
        if (memory) return static_cast<uint8_t>(word >> 8);
        break;
    case ChannelLow: return static_cast<uint8_t>(camera->channelCount);
    case ChannelHigh: return static_cast<uint8_t>(camera->channelCount >> 8);
    default: break;
    }
    return static_cast<uint8_t>(camera->registers[number & 0x7Fu]);
}
