// The address map that most bus cameras share, its registers and its status words.
#include "emulator/bus_state.h"

namespace {

constexpr uint16_t FirstRegister = 0x8000;
constexpr uint16_t RegisterCount = 32;
constexpr uint16_t StatusBase = 0xFFE0;
constexpr uint16_t MemoryRead = 0xFFE0;
constexpr uint16_t RegisterRead = 0xFFE1;
constexpr uint16_t Temperature = 0xFFEE;
constexpr uint16_t Selection = 0xFFF0;

// Register 0.
constexpr uint16_t Convert = 0x0001;
constexpr uint16_t External = 0x0010;
constexpr uint16_t ClearPointer = 0x0020;
constexpr uint16_t Run = 0x0040;
constexpr uint16_t LoadRepeat = 0x0080;
constexpr uint16_t LatchEnd = 0x0100;
constexpr uint16_t AtOnce = 0x000C; // with External, on 47
constexpr uint16_t HeronCooler = 0x8000;

constexpr uint16_t Page = 2;
constexpr uint16_t ResetRegister = 31;

// Status words.
constexpr uint16_t EepromOut = 0x0001;
constexpr uint16_t Exposing = 0x1000;
constexpr uint16_t Triggered = 0x2000;
constexpr uint16_t HeronTriggered = 0x0008;

bool ConvertsBySection(const EmuBusState& camera)
{
    return camera.setup.platform >= 22 && camera.setup.platform <= 24;
}

bool HasPattern(const EmuBusState& camera)
{
    return camera.setup.platform != 30 ||
           (camera.setup.sensor != 500 && camera.setup.sensor != 506);
}

// A sensor without a pattern: all rows once.
bool MakePlainPixel(EmuBusState* camera, uint16_t* pixel)
{
    const EmuChip& chip = camera->setup.chip;
    if (camera->row >= chip.rows) return false;
    ++camera->stream.ticks;
    const uint32_t charge = camera->exposed ? chip.scene(camera->column, camera->row) : 0;
    *pixel = static_cast<uint16_t>(charge > 0xFFFF ? 0xFFFF : charge);
    if (++camera->column == chip.columns) {
        camera->column = 0;
        if (++camera->row == chip.rows) camera->exposed = false;
    }
    return true;
}

void StartRun(EmuBusState* camera)
{
    EmuStartSection(camera, camera->registers[Page]);
    camera->play.temperature = camera->toTemperature && ConvertsBySection(*camera);
    camera->toTemperature = false;
    camera->converting = false;
}

// The pixels come when the exposure is over.
void StartArmed(EmuBusState* camera)
{
    camera->armed = false;
    camera->pixelsFrom = EmuExposeArmed(camera);
    StartRun(camera);
    if (camera->linkTakes) EmuStreamSection(camera, camera->pixelsFrom);
    camera->linkTakes = false;
}

// 47 exposes and plays by itself; the others only expose, as long as the trigger is on.
void SetExternal(EmuBusState* camera, uint16_t now)
{
    if (camera->setup.platform != 47) return;
    camera->armed = true;
    if ((now & AtOnce) == AtOnce) StartArmed(camera);
}

void EndExternal(EmuBusState* camera)
{
    if (camera->setup.platform != 47) return;
    camera->armed = false;
    camera->linkTakes = false;
    EmuStopSection(camera);
}

void WriteControl(EmuBusState* camera, uint16_t before, uint16_t now)
{
    const uint16_t rising = now & ~before;
    if (now & LoadRepeat) camera->repeatFollows = true;
    if (rising & LatchEnd) camera->end = camera->lastBare;
    if (rising & ClearPointer || before & ~now & Run) EmuStopSection(camera);
    if (rising & Run) StartRun(camera);
    if (rising & External) SetExternal(camera, now);
    if (before & ~now & External) EndExternal(camera);
    if (rising & Convert && camera->converting) {
        camera->conversion = EmuConvertTemperature(*camera);
        camera->converted = true;
    }
    if (camera->setup.platform == 60 && (before ^ now) & HeronCooler) {
        EmuDriveCooler(camera, camera->driveCode, (now & HeronCooler) != 0);
    }
}

// The shutter of 44 and 47, and the timers of 47.
void WriteDivider(EmuBusState* camera, uint16_t, uint16_t now)
{
    constexpr uint16_t HeldOpen = 0x0800, LoadTimers = 0x1100;
    const bool holds = camera->setup.platform == 44 || camera->setup.platform == 47;
    if (holds) EmuHoldShutter(camera, (now & HeldOpen) != 0);
    if ((now & LoadTimers) == LoadTimers) camera->timers.loads = true;
}

// The shutter of 25.
void WriteShutter(EmuBusState* camera, uint16_t, uint16_t now)
{
    constexpr uint16_t HeldOpen = 0x0100;
    if (camera->setup.platform == 25) EmuHoldShutter(camera, (now & HeldOpen) != 0);
}

void WriteAnalog(EmuBusState* camera, uint16_t before, uint16_t now)
{
    constexpr uint16_t StartBurst = 0x0080;
    EmuAnalogLines(camera, before, now);
    if (now & ~before & StartBurst && camera->toTemperature) camera->converting = true;
}

struct Effect {
    uint32_t reg;
    void (*written)(EmuBusState* camera, uint16_t before, uint16_t now);
};
const Effect Effects[] = {{0, WriteControl},
                          {3, WriteDivider},
                          {6, WriteShutter},
                          {11, WriteAnalog},
                          {12, EmuControlLines}};

void WriteRegister(EmuBusState* camera, uint32_t reg, uint16_t word)
{
    const uint16_t before = camera->registers[reg];
    camera->registers[reg] = word;
    for (const Effect& effect : Effects) {
        if (effect.reg == reg) effect.written(camera, before, word);
    }
    EmuExposureWritten(camera, reg);
    EmuAccessoryLines(camera, reg, before, word);
}

uint16_t Status7(const EmuBusState& camera)
{
    uint16_t status = 0;
    const bool gated = (camera.registers[0] & External) != 0;
    if (camera.eeprom.out) status |= EepromOut;
    if (gated ? camera.trigger : EmuExposureRuns(camera)) status |= Exposing;
    if (camera.trigger) status |= Triggered;
    return status;
}

// The power shows in status 9 where no wheel has taken its line.
uint16_t CameraStatus(const EmuBusState& camera, uint32_t number)
{
    switch (number) {
    case 5: return camera.setup.platform == 60 && camera.trigger ? HeronTriggered : 0;
    case 7: return Status7(camera);
    case 9: return camera.wheel.setup.kind == EmuByteWheel ? 0 : 1;
    case 15: return camera.setup.version;
    default: return 0;
    }
}

uint16_t Status(EmuBusState* camera, uint32_t number)
{
    return CameraStatus(*camera, number) | EmuWheelBits(camera, false, number);
}

// Bit 0 of register 7 is a line of the wheel on 40 to 47.
uint16_t ReadRegister(EmuBusState* camera, uint32_t reg)
{
    const bool line = reg == 7 && camera->setup.platform >= 40 && camera->setup.platform <= 47;
    const uint32_t word = camera->registers[reg] & (line ? 0xFFFEu : 0xFFFFu);
    return static_cast<uint16_t>(word | EmuWheelBits(camera, true, reg));
}

// With bit 15 of register 12 the upper half of the memory lies under the same
// addresses on 25.
uint32_t MemoryAddress(const EmuBusState& camera, uint16_t address)
{
    const bool upper = camera.setup.platform == 25 && camera.registers[12] & 0x8000;
    return address + (upper ? 0x8000u : 0u);
}

void Address(EmuBusState* camera, uint16_t address)
{
    if (camera->repeatFollows) {
        camera->repeatFollows = false;
        camera->repeat = address;
        return;
    }
    if (camera->bare) camera->lastBare = camera->address;
    camera->prefix = camera->bare ? camera->address : 0;
    camera->address = address;
    camera->bare = true;
    if (address >= Selection) camera->selected = address == Selection + camera->setup.unit;
    if (address == Temperature) {
        camera->toTemperature = true;
        camera->converting = false;
    }
}

void Data(EmuBusState* camera, uint16_t word)
{
    camera->bare = false;
    if (camera->address == FirstRegister + ResetRegister) {
        EmuBusReset(camera);
    } else if (!camera->selected) {
        return;
    } else if (camera->address < FirstRegister) {
        // The running sequencer has the memory to itself.
        if (camera->registers[0] & Run) return;
        camera->pattern.words[MemoryAddress(*camera, camera->address)] = word;
    } else if (camera->address < FirstRegister + RegisterCount) {
        WriteRegister(camera, camera->address - FirstRegister, word);
    }
}

uint16_t Read(EmuBusState* camera)
{
    camera->bare = false;
    const uint16_t address = camera->address;
    if (camera->prefix == RegisterRead && address >= FirstRegister &&
        address < FirstRegister + RegisterCount) {
        return ReadRegister(camera, address - FirstRegister);
    }
    if (camera->prefix == MemoryRead && address < FirstRegister) {
        return camera->pattern.words[MemoryAddress(*camera, address)];
    }
    if (address >= StatusBase && address < Selection) return Status(camera, address - StatusBase);
    return camera->converting ? camera->conversion : 0xFFFF;
}

// The link may turn to reading for many a reason: pixels flow if register 0 was the
// last that it wrote.
void Stream(EmuBusState* camera)
{
    if (camera->bare || camera->address != FirstRegister) return;
    camera->linkTakes = camera->armed;
    if (!camera->play.waits) return;
    if (HasPattern(*camera)) {
        EmuStreamSection(camera, camera->pixelsFrom);
        return;
    }
    camera->play.waits = false;
    camera->row = 0;
    camera->column = 0;
    EmuBeginStream(camera, MakePlainPixel, 0);
}

void Trigger(EmuBusState* camera)
{
    if (camera->armed) StartArmed(camera);
    if (camera->setup.platform != 47 && camera->registers[0] & External) EmuLight(camera);
}

} // namespace

const EmuBusDialect EmuPatternBus = {Address, Data, Read, Stream, Trigger};
