#include "emulator/tarn5.h"

namespace {

enum Register : uint32_t {
    WheelOutput = 5,
    WheelByte = 6,
    Word = 8,   // of the memory; which lines of Number go out to a wheel
    Number = 9, // an address of the memory, a repeat count, an end
    Letter = 14,
    Store = 18,
    LatchRepeat = 20,
    LatchEnd = 21,
};

enum Status : uint32_t { General = 7, MemoryWord = 17, Answer = 19, Busy = 30, Version = 31 };

// Selection.
constexpr uint16_t FrontEndData = 0x0040;
constexpr uint16_t FrontEndClock = 0x0080;
constexpr uint16_t FrontEndStrobe = 0x0100;
constexpr uint32_t FrontEndBits = 15; // 3 of the address, 3 of nothing, 9 of the value

constexpr uint16_t CoolerOn = 0x0080;
constexpr uint16_t TriggerSeen = 0x2000;

// Control.
constexpr uint16_t Mode = 0x03C0;
constexpr uint16_t WritesMemory = 7 << 6;
constexpr uint16_t LastLetter = 0x1000;
constexpr uint16_t LetterThere = 0x2000;

constexpr uint16_t WheelReady = 0x0001; // in the place of the answer
constexpr uint16_t WheelStrobe = 0x0002;

constexpr uint32_t MostWords = 16;
constexpr double MostDrive = 255;
constexpr double CountsPerKelvin = 7.85 / 0.6103515625; // millivolts
constexpr uint64_t CountUs = 10;

void DriveCooler(const EmuTarn5& camera, uint32_t code, bool on)
{
    *camera.driveCode = code;
    *camera.coolerOn = on;
    EmuSetCooling(camera.thermal, on ? code / MostDrive : 0.0);
}

uint16_t ConvertTemperature(const EmuTarn5& camera)
{
    const double celsius = EmuTemperatureNow(*camera.thermal);
    const double shown = EmuUncorrected(celsius, camera.memory[0], camera.memory[1]);
    return EmuKelvinCount(shown, CountsPerKelvin, 4095);
}

bool IsTestLetter(const EmuLetter& letter)
{
    constexpr uint16_t test[] = {21845, 43690, 65535, 0, 65280, 255, 4369, 8738, 17476, 34952, 13};
    bool same = letter.count == 11;
    for (uint32_t i = 0; i < 11; ++i) same = same && letter.words[i] == test[i];
    return same;
}

// The last word says what to do with those ahead of it.
void OpenLetter(const EmuTarn5& camera)
{
    enum Order : uint16_t { Write = 1, Read = 2, Drive = 3, Fan = 4, Temperature = 5, Test = 13 };
    EmuLetter* const letter = camera.letter;
    const uint16_t first = letter->words[0];
    switch (letter->words[letter->count - 1]) {
    case Write: camera.memory[first & 63u] = letter->words[1]; break;
    case Read: letter->answer = camera.memory[first & 63u]; break;
    case Drive: DriveCooler(camera, first & 0xFFu, *camera.coolerOn); break;
    case Fan: *camera.fan = first; break;
    case Temperature: letter->answer = ConvertTemperature(camera); break;
    case Test: letter->answer = IsTestLetter(*letter) ? 4369 : 0; break;
    default: break;
    }
}

void WriteControl(const EmuTarn5& camera, uint16_t before, uint16_t now)
{
    if (!(now & ~before & LetterThere)) return;
    EmuLetter* const letter = camera.letter;
    if (letter->count < MostWords) letter->words[letter->count++] = camera.registers[Letter];
    if (!(now & LastLetter)) return;
    OpenLetter(camera);
    letter->count = 0;
}

void WriteSelect(const EmuTarn5& camera, uint16_t before, uint16_t now)
{
    EmuShiftWord* const word = camera.gain;
    if ((before ^ now) & FrontEndStrobe) *word = {};
    if (!(now & ~before & FrontEndClock)) return;
    EmuShiftIn(word, (now & FrontEndData) != 0);
    if (word->count != FrontEndBits) return;
    camera.gainWords[word->bits >> 12 & 7u] = word->bits & 0x1FFu;
    *word = {};
}

void WriteShutter(const EmuTarn5& camera, uint16_t, uint16_t now)
{
    DriveCooler(camera, *camera.driveCode, (now & CoolerOn) != 0);
}

// The controller of a wheel takes a byte as its strobe goes down.
void WriteNumber(const EmuTarn5& camera, uint16_t before, uint16_t now)
{
    const uint16_t* const r = camera.registers;
    const bool output = r[WheelOutput] == 0xFF && r[Word] == WheelStrobe;
    if (camera.wheel->setup.kind != EmuByteWheel || !output) return;
    if (before == WheelStrobe && now == 0) {
        EmuWheelByte(camera.wheel, static_cast<uint8_t>(r[WheelByte]));
    }
}

// Page 0 is the wheel's, until the processor gets a letter.
void WritePage(const EmuTarn5& camera, uint16_t, uint16_t now)
{
    camera.wheel->asked = camera.wheel->setup.kind == EmuByteWheel && now == 0;
}

void WriteLetter(const EmuTarn5& camera, uint16_t, uint16_t)
{
    camera.wheel->asked = false;
}

uint16_t AnswerOf(const EmuTarn5& camera)
{
    if (!camera.wheel->asked) return camera.letter->answer;
    return EmuWheelReady(*camera.wheel) ? WheelReady : 0;
}

void WriteStore(const EmuTarn5& camera, uint16_t, uint16_t)
{
    const uint16_t* const r = camera.registers;
    if ((r[EmuTarn5Control] & Mode) == WritesMemory) camera.pattern->words[r[Number]] = r[Word];
}

void WriteRepeat(const EmuTarn5& camera, uint16_t, uint16_t)
{
    *camera.repeat = camera.registers[Number];
}

void WriteEnd(const EmuTarn5& camera, uint16_t, uint16_t)
{
    *camera.end = camera.registers[Number];
}

struct Effect {
    uint32_t reg;
    void (*written)(const EmuTarn5& camera, uint16_t before, uint16_t now);
};
const Effect Effects[] = {
    {EmuTarn5Select, WriteSelect}, {EmuTarn5Shutter, WriteShutter}, {EmuTarn5Control, WriteControl},
    {EmuTarn5Page, WritePage},     {Number, WriteNumber},           {Letter, WriteLetter},
    {Store, WriteStore},           {LatchRepeat, WriteRepeat},      {LatchEnd, WriteEnd},
};

} // namespace

void EmuTarn5Write(const EmuTarn5& camera, uint32_t reg, uint16_t value)
{
    const uint16_t before = camera.registers[reg];
    camera.registers[reg] = value;
    for (const Effect& effect : Effects) {
        if (effect.reg == reg) effect.written(camera, before, value);
    }
}

uint16_t EmuTarn5Read(const EmuTarn5& camera, uint32_t number, bool trigger, uint16_t version)
{
    switch (number) {
    case General: return trigger ? TriggerSeen : 0;
    case MemoryWord: return camera.pattern->words[camera.registers[Number]];
    case Answer: return AnswerOf(camera);
    case Busy: return 0;
    case Version: return version;
    default: return camera.registers[number];
    }
}

uint64_t EmuTarn5Time(const EmuTarn5& camera)
{
    const uint16_t* const r = camera.registers;
    const uint64_t settle = r[EmuTarn5SettleLow] | static_cast<uint64_t>(r[EmuTarn5SettleLow + 1])
                                                       << 16;
    const uint64_t time = r[EmuTarn5TimeLow] | static_cast<uint64_t>(r[EmuTarn5TimeHigh]) << 16;
    return time == 0 ? 0 : (settle + time) * CountUs;
}
