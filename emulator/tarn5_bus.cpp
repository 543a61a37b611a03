// Tarn_V on the bus: an address cycle names a register, what is read is selected in
// register 0, and a coprocessor has the camera memory, converters and thermometer.
//
// A section is started by hand, or armed: then it starts at the end of the exposure.
// The link may begin to take pixels at any time before.
#include "emulator/bus_state.h"
#include "emulator/world.h"

namespace {

constexpr uint32_t RegisterMask = 0x3F;

enum Register : uint32_t {
    Select = 0,
    SettleLow = 1,
    SettleHigh = 2,
    Shutter = 3,
    Word = 8,
    Number = 9, // an address of the memory, a repeat count, an end
    Page = 10,
    Control = 11,
    TimeLow = 12,
    TimeHigh = 13,
    Letter = 14,
    Store = 18,
    LatchRepeat = 20,
    LatchEnd = 21,
};

enum Status : uint32_t { General = 7, MemoryWord = 17, Answer = 19, Busy = 30, Version = 31 };

// Select.
constexpr uint16_t LeaveStream = 16;
constexpr uint16_t FrontEndData = 0x0040;
constexpr uint16_t FrontEndClock = 0x0080;
constexpr uint16_t FrontEndStrobe = 0x0100;
constexpr uint32_t FrontEndBits = 15; // 3 of the address, 3 of nothing, 9 of the value

constexpr uint16_t ShutterOpens = 0x0004;
constexpr uint16_t CoolerOn = 0x0080;
constexpr uint16_t TriggerSeen = 0x2000;

// Control.
constexpr uint16_t Mode = 0x03C0;
constexpr uint16_t WritesMemory = 7 << 6;
constexpr uint16_t StartByHand = 0x0C00;
constexpr uint16_t LastLetter = 0x1000;
constexpr uint16_t LetterThere = 0x2000;
constexpr uint16_t SendsPixels = 0x4000;
constexpr uint16_t ByHand = 0x8000;

constexpr uint32_t MostLetters = 16;

void TryStream(EmuBusState* camera)
{
    if (!camera->play.waits || !camera->linkTakes) return;
    if (camera->registers[Control] & SendsPixels) EmuStreamSection(camera, camera->exposureEnds);
}

bool IsTestLetter(const EmuBusState& camera)
{
    constexpr uint16_t test[] = {21845, 43690, 65535, 0, 65280, 255, 4369, 8738, 17476, 34952, 13};
    bool same = camera.letters == 11;
    for (uint32_t i = 0; i < 11; ++i) same = same && camera.letter[i] == test[i];
    return same;
}

// The last word says what to do with those ahead of it.
void OpenLetter(EmuBusState* camera)
{
    enum Order : uint16_t { Write = 1, Read = 2, Drive = 3, Fan = 4, Temperature = 5, Test = 13 };
    const uint16_t first = camera->letter[0];
    switch (camera->letter[camera->letters - 1]) {
    case Write: camera->eeprom.words[first & 63u] = camera->letter[1]; break;
    case Read: camera->answer = camera->eeprom.words[first & 63u]; break;
    case Drive: EmuDriveCooler(camera, first & 0xFFu, camera->coolerOn); break;
    case Fan: camera->fan = first; break;
    case Temperature: camera->answer = EmuConvertTemperature(*camera); break;
    case Test: camera->answer = IsTestLetter(*camera) ? 4369 : 0; break;
    default: break;
    }
}

void TakeLetter(EmuBusState* camera, uint16_t control)
{
    if (camera->letters < MostLetters) {
        camera->letter[camera->letters++] = camera->registers[Letter];
    }
    if (!(control & LastLetter)) return;
    OpenLetter(camera);
    camera->letters = 0;
}

void WriteSelect(EmuBusState* camera, uint16_t before, uint16_t now)
{
    if ((now & RegisterMask) == LeaveStream) {
        EmuStopSection(camera);
        camera->linkTakes = false;
        camera->armed = false;
    }
    if ((before ^ now) & FrontEndStrobe) camera->gain = {};
    if (!(now & ~before & FrontEndClock)) return;
    EmuShiftIn(&camera->gain, (now & FrontEndData) != 0);
    if (camera->gain.count != FrontEndBits) return;
    camera->gainWords[camera->gain.bits >> 12 & 7u] = camera->gain.bits & 0x1FFu;
    camera->gain = {};
}

void WriteShutter(EmuBusState* camera, uint16_t, uint16_t now)
{
    EmuDriveCooler(camera, camera->driveCode, (now & CoolerOn) != 0);
}

void WriteControl(EmuBusState* camera, uint16_t before, uint16_t now)
{
    const uint16_t rising = now & ~before;
    if (rising & LetterThere) TakeLetter(camera, now);
    if (rising & ByHand) {
        camera->armed = false;
        EmuStopSection(camera);
    }
    if ((rising & StartByHand) == StartByHand) EmuStartSection(camera, camera->registers[Page]);
    if ((now & (ByHand | StartByHand)) == ByHand && !(now & SendsPixels)) {
        EmuFinishSection(camera);
    }
    if (rising & SendsPixels && !(now & ByHand)) camera->armed = true;
    TryStream(camera);
}

void WriteTime(EmuBusState* camera, uint16_t, uint16_t)
{
    const uint16_t* const r = camera->registers;
    const uint64_t settle = r[SettleLow] | static_cast<uint64_t>(r[SettleHigh]) << 16;
    const uint64_t time = r[TimeLow] | static_cast<uint64_t>(r[TimeHigh]) << 16;
    if (time == 0) return;
    camera->exposureEnds = EmuNow() + (settle + time) * 10;
    if (r[Shutter] & ShutterOpens) EmuLight(camera);
    if (!camera->armed) return;
    camera->armed = false;
    EmuStartSection(camera, r[Page]);
    TryStream(camera);
}

void WriteStore(EmuBusState* camera, uint16_t, uint16_t)
{
    const uint16_t* const r = camera->registers;
    if ((r[Control] & Mode) == WritesMemory) camera->pattern.words[r[Number]] = r[Word];
}

void WriteRepeat(EmuBusState* camera, uint16_t, uint16_t)
{
    camera->repeat = camera->registers[Number];
}

void WriteEnd(EmuBusState* camera, uint16_t, uint16_t)
{
    camera->end = camera->registers[Number];
}

struct Effect {
    uint32_t reg;
    void (*written)(EmuBusState* camera, uint16_t before, uint16_t now);
};
const Effect Effects[] = {
    {Select, WriteSelect}, {Shutter, WriteShutter}, {Control, WriteControl},
    {TimeHigh, WriteTime}, {Store, WriteStore},     {LatchRepeat, WriteRepeat},
    {LatchEnd, WriteEnd},
};

void Address(EmuBusState* camera, uint16_t address)
{
    camera->address = address & RegisterMask;
}

void Data(EmuBusState* camera, uint16_t word)
{
    const uint32_t reg = camera->address;
    const uint16_t before = camera->registers[reg];
    camera->registers[reg] = word;
    for (const Effect& effect : Effects) {
        if (effect.reg == reg) effect.written(camera, before, word);
    }
}

uint16_t Read(EmuBusState* camera)
{
    const uint32_t number = camera->registers[Select] & 0x1Fu;
    switch (number) {
    case General: return camera->trigger ? TriggerSeen : 0;
    case MemoryWord: return camera->pattern.words[camera->registers[Number]];
    case Answer: return camera->answer;
    case Busy: return 0;
    case Version: return camera->setup.version;
    default: return camera->registers[number];
    }
}

void Stream(EmuBusState* camera)
{
    camera->linkTakes = true;
    TryStream(camera);
}

void Trigger(EmuBusState*) {}

} // namespace

const EmuBusDialect EmuTarn5Bus = {Address, Data, Read, Stream, Trigger};
