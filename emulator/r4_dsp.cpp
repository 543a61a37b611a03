// R4-DSP: byte registers, a pattern memory behind some of them, and a signal processor,
// which takes letters one by one and the readout order in a batch.
#include <algorithm>
#include <cmath>

#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

enum Register : uint8_t {
    PatternAddress = 0,
    PatternStrobe = 1,
    PatternData = 2,
    OrderLow = 6,
    OrderHigh = 7,
    Control = 8,
    ReadVersion = 9,
    MailLow = 18,
    MailHigh = 19,
    ShutterLine = 22,
    Counter = 23,
    CounterTime = 24,
    VersionLow = 34,
    VersionHigh = 35,
    MailStatus = 36,
    AnswerLow = 37,
    AnswerHigh = 38,
    FrameData = 40,
};

// PatternStrobe: the upper bits of the address, and the line that stores.
constexpr uint8_t PatternHigh = 15, PatternClock = 32;
// Control.
constexpr uint8_t OrderClock = 4, OrderWrites = 8, Runs = 16, ResetLine = 64;
// Counter.
constexpr uint8_t TakesSettling = 16, StartsCounter = 128;

constexpr uint8_t VersionCommand = 31;
constexpr uint64_t VersionUs = 900'000;
constexpr uint64_t LetterUs = 2000;
constexpr uint64_t CounterUs = 4;
constexpr double CountsPerKelvin = 7870 / 38.146972;
constexpr double ZeroCelsius = 273.15;
constexpr uint32_t DriveMost = 1000, OutputMost = 4095;

// --- letters ---

// What the thermometer shows is brought to the truth by the camera memory: span and offset
// in tenths, in this order.
uint16_t Temperature(EmuUsbState* camera)
{
    const auto offset = static_cast<int16_t>(camera->memory[0]);
    const auto span = static_cast<int16_t>(camera->memory[1]);
    const double celsius = EmuTemperatureNow(camera->thermal);
    const double shown = span > 0 ? (celsius - offset / 10.0) / (span / 10.0) : celsius;
    return EmuKelvinCount(shown, CountsPerKelvin, 0xFFFF);
}

uint16_t SetFan(EmuUsbState* camera)
{
    camera->fan = camera->letter.words[1];
    return 0;
}

uint16_t SetPower(EmuUsbState* camera)
{
    EmuUsbDriveCooler(camera, camera->letter.words[1], camera->coolerOn, DriveMost);
    return 0;
}

uint16_t SwitchCooler(EmuUsbState* camera)
{
    EmuUsbDriveCooler(camera, camera->driveCode, camera->letter.words[1] != 0, DriveMost);
    return 0;
}

// It regulates by itself: with as much power as holds the sensor there.
uint16_t SetPoint(EmuUsbState* camera)
{
    const double target = camera->letter.words[1] / CountsPerKelvin - ZeroCelsius;
    const double power = EmuCoolingFor(camera->thermal, target) * DriveMost;
    EmuUsbDriveCooler(camera, static_cast<uint32_t>(std::lround(power)), true, DriveMost);
    return 0;
}

uint16_t Output(EmuUsbState* camera)
{
    if (!camera->coolerOn) return 0;
    const uint32_t power = std::min(camera->driveCode, DriveMost);
    return static_cast<uint16_t>(power * OutputMost / DriveMost);
}

uint16_t WriteMemory(EmuUsbState* camera)
{
    if (camera->letter.words[1] < 64)
        camera->memory[camera->letter.words[1]] = camera->letter.words[2];
    return 0;
}

uint16_t ReadMemory(EmuUsbState* camera)
{
    return camera->letter.words[1] < 64 ? camera->memory[camera->letter.words[1]] : 0xFFFF;
}

uint16_t Firmware(EmuUsbState* camera)
{
    return camera->setup.firmware != 0 ? camera->setup.firmware : 100;
}

// The processor is busy until the wheel is there.
uint16_t WheelAnswer(EmuUsbState* camera)
{
    camera->busyUntil = std::max(camera->busyUntil, camera->wheel.busyUntil);
    return camera->wheel.answer;
}

uint16_t HomeWheel(EmuUsbState* camera)
{
    if (camera->wheel.setup.kind == EmuOwnWheel) EmuWheelHome(&camera->wheel);
    return WheelAnswer(camera);
}

uint16_t MoveWheel(EmuUsbState* camera)
{
    const uint32_t position = camera->letter.words[1] + 1u;
    if (camera->wheel.setup.kind == EmuOwnWheel) EmuWheelGo(&camera->wheel, position);
    return WheelAnswer(camera);
}

// The period; a wheel's offset; a close: nothing to answer.
uint16_t Done(EmuUsbState*)
{
    return 0;
}

struct Letter {
    uint16_t word;
    uint32_t arguments;
    uint16_t (*run)(EmuUsbState* camera);
};
const Letter Letters[] = {
    {100, 0, Temperature}, {101, 1, SetFan},    {102, 1, SetPower},  {103, 1, SwitchCooler},
    {104, 1, Done},        {105, 0, HomeWheel}, {106, 1, MoveWheel}, {107, 2, WriteMemory},
    {108, 1, ReadMemory},  {109, 1, SetPoint},  {110, 0, Output},    {112, 1, Done},
    {113, 1, Done},        {114, 0, Firmware},  {255, 0, Done},
};

const Letter* FindLetter(uint16_t word)
{
    for (const Letter& letter : Letters) {
        if (letter.word == word) return &letter;
    }
    return nullptr;
}

void TakeLetter(EmuUsbState* camera, uint16_t word)
{
    camera->letter.words[camera->letter.count++] = word;
    camera->busyUntil = std::max(camera->busyUntil, EmuNow() + LetterUs);
    const Letter* const letter = FindLetter(camera->letter.words[0]);
    if (letter == nullptr) {
        EmuUsbStray(camera, static_cast<uint8_t>(word));
        EmuUsbStray(camera, static_cast<uint8_t>(word >> 8));
        camera->letter.count = 0;
    } else if (camera->letter.count > letter->arguments) {
        camera->letter.count = 0;
        ++camera->commands[letter->word];
        if (letter->arguments > 0) {
            camera->registers[letter->word] = camera->letter.words[letter->arguments];
        }
        camera->letter.answer = letter->run(camera);
    }
}

// --- the readout order and its frame ---

enum OrderWord : uint32_t {
    Opcode = 1,
    Lines = 3,
    SkippedAhead = 4,
    SkippedBehind = 5,
    RowsAhead = 6,
    HorBin = 9,
    VerBin = 10,
};
constexpr uint16_t ReadoutOrder = 2;

void TakeOrderWord(EmuUsbState* camera)
{
    const uint16_t* const regs = camera->registers;
    const auto word = static_cast<uint16_t>(regs[OrderLow] | regs[OrderHigh] << 8);
    if (camera->orderWords < VerBin) camera->geometry[++camera->orderWords] = word;
}

void SendFrame(EmuUsbState* camera, uint32_t bytes)
{
    const uint16_t* const order = camera->geometry;
    const bool runs = (camera->registers[Control] & Runs) != 0;
    if (!runs || camera->orderWords != VerBin || order[Opcode] != ReadoutOrder) return;
    camera->orderWords = 0;
    const EmuChip& chip = camera->setup.chip;
    const int64_t cells = int64_t{chip.registerSize} - static_cast<int16_t>(order[SkippedAhead]) -
                          static_cast<int16_t>(order[SkippedBehind]);
    if (cells <= 0 || order[HorBin] == 0) return;
    EmuUsbFrame frame = {};
    frame.light = camera->light;
    frame.column = static_cast<int16_t>(order[SkippedAhead]) - int64_t{chip.leading};
    frame.row = std::max<int16_t>(static_cast<int16_t>(order[RowsAhead]), 0);
    frame.columnEnd = chip.columns;
    frame.rowEnd = chip.rows;
    frame.hbin = order[HorBin];
    frame.vbin = order[VerBin];
    frame.width = static_cast<uint32_t>(cells / order[HorBin]);
    frame.words = std::min<uint64_t>(uint64_t{frame.width} * order[Lines], bytes / 2);
    EmuSendFrame(camera, frame);
    camera->light = false;
}

// --- registers ---

void StorePattern(EmuUsbState* camera)
{
    const uint16_t* const regs = camera->registers;
    const auto address =
        static_cast<size_t>((regs[PatternStrobe] & PatternHigh) << 8 | regs[PatternAddress]);
    for (size_t i = 0; i < 4; ++i) camera->pattern.words[4 * address + i] = regs[PatternData + i];
}

void ControlLines(EmuUsbState* camera, uint8_t rising)
{
    if ((rising & ResetLine) != 0) {
        camera->letter.count = 0;
        camera->orderWords = 0;
    }
    if ((rising & OrderWrites) != 0) camera->orderWords = 0;
    const bool writes = (camera->registers[Control] & OrderWrites) != 0;
    if (writes && (rising & OrderClock) != 0) TakeOrderWord(camera);
}

// The counter takes its times from one place: first that of the shutter's settling.
void CounterLines(EmuUsbState* camera, uint8_t rising, uint8_t falling)
{
    const uint64_t time = EmuUsbLongRegister(camera->index, CounterTime) * CounterUs;
    if ((falling & TakesSettling) != 0) camera->settlingUs = time;
    if ((rising & StartsCounter) == 0 || time == 0) return;
    camera->exposureEnds = EmuNow() + camera->settlingUs + time;
    camera->light = camera->registers[ShutterLine] != 0;
    camera->exposures += camera->light ? 1 : 0;
}

void Write(EmuUsbState* camera, uint8_t address, uint8_t value)
{
    const auto before = static_cast<uint8_t>(camera->registers[address]);
    camera->registers[address] = value;
    const auto rising = static_cast<uint8_t>(value & ~before);
    const auto falling = static_cast<uint8_t>(before & ~value);
    switch (address) {
    case PatternStrobe:
        if ((rising & PatternClock) != 0) StorePattern(camera);
        break;
    case Control: ControlLines(camera, rising); break;
    case ReadVersion: camera->versionAt = EmuNow() + VersionUs; break;
    case MailHigh:
        TakeLetter(camera, static_cast<uint16_t>(value << 8 | camera->registers[MailLow]));
        break;
    case Counter: CounterLines(camera, rising, falling); break;
    default: break;
    }
}

uint16_t VersionWord(const EmuUsbState& camera)
{
    const bool read = camera.registers[ReadVersion] == VersionCommand;
    return read && EmuNow() >= camera.versionAt ? camera.setup.version : 0;
}

uint8_t Read(EmuUsbState* camera, uint8_t address)
{
    switch (address) {
    case VersionLow: return static_cast<uint8_t>(VersionWord(*camera));
    case VersionHigh: return static_cast<uint8_t>(VersionWord(*camera) >> 8);
    case MailStatus: return EmuNow() < camera->busyUntil ? 1 : 0;
    case AnswerLow: return static_cast<uint8_t>(camera->letter.answer);
    case AnswerHigh: return static_cast<uint8_t>(camera->letter.answer >> 8);
    default: return static_cast<uint8_t>(camera->registers[address]);
    }
}

const EmuPairLink Link = {Write, Read, FrameData, SendFrame};

void Receive(EmuUsbState* camera, const uint8_t* bytes, uint32_t count)
{
    EmuReceivePairs(camera, Link, bytes, count);
}

void PowerUp(EmuUsbState* camera)
{
    camera->orderWords = 0;
    camera->settlingUs = 0;
    camera->versionAt = 0;
}

} // namespace

const EmuUsbDialect EmuR4Dsp = {PowerUp, Receive};
