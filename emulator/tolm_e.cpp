// WREN and TOLM_E: 'D', a command, its arguments low byte first; then the camera answers,
// mostly with a byte that says that it has done it. It clocks its sensor itself, by the
// geometry that it was told.
#include <algorithm>

#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

constexpr uint8_t Letter = 'D';
constexpr uint8_t WindowCommand = 11;
constexpr uint64_t AnswerUs = 50;
constexpr uint32_t FieldLines = 256, FieldLead = 3;
constexpr int32_t TwoFieldSensor = 5000;
constexpr uint32_t FullScale = 4095;
constexpr double CountsPerKelvin = 7.87 / 0.6103515625; // 7.87 mV, and 4096 counts of 2.5 V

enum Channel : uint8_t { Power = 0, Fan = 1 };

enum GeometryWord : uint32_t {
    LineWidth = 2,
    RegisterSize = 3,
    Leading = 4,
    Rows = 5,
    HorBin = 7,
    VerBin = 8,
    FirstPlugWord = 16,
};

uint16_t Word(const uint8_t* bytes)
{
    return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

uint32_t Long(const uint8_t* bytes)
{
    return Word(bytes) | static_cast<uint32_t>(Word(bytes + 2)) << 16;
}

void SendByteAt(EmuUsbState* camera, uint8_t byte, uint64_t at)
{
    EmuUsbSend(camera, &byte, 1, at, 0);
}

void SendByte(EmuUsbState* camera, uint8_t byte)
{
    SendByteAt(camera, byte, EmuNow() + AnswerUs);
}

void SendWord(EmuUsbState* camera, uint16_t word)
{
    const uint8_t bytes[] = {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8)};
    EmuUsbSend(camera, bytes, sizeof bytes, EmuNow() + AnswerUs, 0);
}

void Acknowledge(EmuUsbState* camera)
{
    SendByte(camera, 1);
}

// The first argument, where a test finds it: under the command's number.
void Keep(EmuUsbState* camera, const uint8_t* sentence)
{
    camera->registers[sentence[1]] = sentence[2];
    Acknowledge(camera);
}

void KeepWord(EmuUsbState* camera, const uint8_t* sentence)
{
    camera->registers[sentence[1]] = Word(sentence + 2);
    Acknowledge(camera);
}

void KeepNothing(EmuUsbState* camera, const uint8_t*)
{
    Acknowledge(camera);
}

void Version(EmuUsbState* camera, const uint8_t*)
{
    SendByte(camera, static_cast<uint8_t>(camera->setup.version));
}

void Temperature(EmuUsbState* camera, const uint8_t*)
{
    camera->conversion = EmuUsbThermometer(*camera, CountsPerKelvin, FullScale);
    SendWord(camera, camera->conversion);
}

void Cooler(EmuUsbState* camera, const uint8_t* sentence)
{
    EmuUsbDriveCooler(camera, camera->driveCode, sentence[2] != 0, FullScale);
    Acknowledge(camera);
}

void Convert(EmuUsbState* camera, const uint8_t* sentence)
{
    const uint16_t code = Word(sentence + 3);
    if (sentence[2] == Power) EmuUsbDriveCooler(camera, code, camera->coolerOn, FullScale);
    if (sentence[2] == Fan) camera->fan = code;
    Acknowledge(camera);
}

// Exposure in microseconds, delay of the shutter in milliseconds.
void Timing(EmuUsbState* camera, const uint8_t* sentence)
{
    for (size_t i = 0; i < 8; ++i) camera->registers[EmuTolmEExposure + i] = sentence[2 + i];
    camera->exposureEnds = EmuNow() + Long(sentence + 2) + Long(sentence + 6) * uint64_t{1000};
    Acknowledge(camera);
}

void Geometry(EmuUsbState* camera, const uint8_t* sentence)
{
    for (size_t i = 0; i < 11; ++i) camera->geometry[i] = Word(sentence + 2 + 2 * i);
    Acknowledge(camera);
}

void Light(EmuUsbState* camera, const uint8_t* sentence)
{
    camera->light = sentence[2] != 0;
    Keep(camera, sentence);
}

void Gain(EmuUsbState* camera, const uint8_t* sentence)
{
    for (size_t i = 0; i < 4; ++i) camera->gainWords[i] = Word(sentence + 2 + 2 * i);
    Acknowledge(camera);
}

// The acknowledge comes when the wheel is there; one without power gives none.
void Wheel(EmuUsbState* camera, const uint8_t* sentence)
{
    enum Selector : uint8_t { Home = 0, Go = 1 };
    camera->registers[EmuTolmEWheel + (sentence[2] & 7)] = sentence[3];
    EmuWheel* const wheel = &camera->wheel;
    if (wheel->dead) return;
    if (wheel->setup.kind == EmuOwnWheel) {
        if (sentence[2] == Home) EmuWheelHome(wheel);
        if (sentence[2] == Go) EmuWheelGo(wheel, sentence[3] + 1u);
    }
    SendByteAt(camera, 1, std::max(EmuNow() + AnswerUs, wheel->busyUntil));
}

void WriteMemory(EmuUsbState* camera, const uint8_t* sentence)
{
    const uint16_t address = Word(sentence + 2);
    if (address < 64) camera->memory[address] = Word(sentence + 4);
    Acknowledge(camera);
}

void ReadMemory(EmuUsbState* camera, const uint8_t* sentence)
{
    const uint16_t address = Word(sentence + 2);
    SendWord(camera, address < 64 ? camera->memory[address] : 0xFFFF);
}

void IsTriggered(EmuUsbState* camera, const uint8_t*)
{
    SendByte(camera, camera->trigger ? 1 : 0);
}

void ArmTrigger(EmuUsbState* camera, const uint8_t*)
{
    camera->armed = true;
    Acknowledge(camera);
}

void Plug(EmuUsbState* camera, const uint8_t* sentence)
{
    for (size_t i = 0; i < 7; ++i) {
        camera->geometry[FirstPlugWord + i] = Word(sentence + 2 + 2 * i);
    }
    SendWord(camera, 0);
}

// --- frames ---

// Two fields, one behind the other.
int64_t InterlacedLine(uint32_t line)
{
    if (line < FieldLead) return -1;
    const bool second = line >= FieldLines + FieldLead;
    return second ? 2 * (int64_t{line} - FieldLines - FieldLead) + 1
                  : 2 * (int64_t{line} - FieldLead);
}

void Read(EmuUsbState* camera, const uint8_t* sentence)
{
    const uint16_t* const told = camera->geometry;
    const bool window = sentence[1] == WindowCommand;
    const uint32_t width = Word(sentence + (window ? 7 : 3));
    const uint32_t height = Word(sentence + (window ? 9 : 5));
    const int64_t firstColumn = int64_t{told[Leading]} - camera->setup.chip.leading;
    EmuUsbFrame frame = {};
    frame.light = sentence[2] != 0 && camera->light;
    frame.column = firstColumn + (window ? int64_t{Word(sentence + 3)} * told[HorBin] : 0);
    frame.row = window ? int64_t{Word(sentence + 5)} * told[VerBin] : 0;
    frame.columnEnd = int64_t{told[RegisterSize]} - camera->setup.chip.leading;
    frame.rowEnd = told[Rows];
    frame.hbin = told[HorBin];
    frame.vbin = told[VerBin];
    frame.width = window ? width : told[LineWidth];
    frame.words = uint64_t{width} * height;
    if (!window && camera->setup.sensor == TwoFieldSensor) frame.lineOf = InterlacedLine;
    if (frame.light) ++camera->exposures;
    EmuSendFrame(camera, frame);
}

// --- the language ---

struct Command {
    uint8_t number;
    uint8_t bytes;
    void (*run)(EmuUsbState* camera, const uint8_t* sentence);
};

const Command Commands[] = {
    {1, 2, Version},     {3, 2, Temperature}, {4, 3, Cooler},       {6, 2, KeepNothing},
    {7, 10, Timing},     {8, 5, Convert},     {9, 24, Geometry},    {10, 7, Read},
    {11, 11, Read},      {12, 10, Gain},      {13, 4, Wheel},       {14, 6, WriteMemory},
    {15, 4, ReadMemory}, {16, 3, Keep},       {17, 2, KeepNothing}, {18, 4, KeepWord},
    {19, 3, Light},      {20, 3, Keep},       {21, 2, IsTriggered}, {22, 2, ArmTrigger},
    {23, 16, Plug},
};

const Command* Find(uint8_t number)
{
    for (const Command& command : Commands) {
        if (command.number == number) return &command;
    }
    return nullptr;
}

void Receive(EmuUsbState* camera, uint8_t byte)
{
    if (camera->received == 0 && byte != Letter) {
        EmuUsbStray(camera, byte);
        return;
    }
    uint8_t* const sentence = camera->sentence;
    sentence[camera->received++] = byte;
    if (camera->received == 1) return;
    const Command* const command = Find(sentence[1]);
    if (command == nullptr) {
        EmuUsbStray(camera, sentence[0]);
        EmuUsbStray(camera, sentence[1]);
        camera->received = 0;
    } else if (camera->received == command->bytes) {
        camera->received = 0;
        ++camera->commands[command->number];
        command->run(camera, sentence);
    }
}

void ReceiveAll(EmuUsbState* camera, const uint8_t* bytes, uint32_t count)
{
    for (size_t i = 0; i < count; ++i) Receive(camera, bytes[i]);
}

void PowerUp(EmuUsbState*) {}

} // namespace

const EmuUsbDialect EmuTolmE = {PowerUp, ReceiveAll, EmuReleaseFrame};
