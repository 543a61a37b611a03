// The bus cameras that are plugged in: cycles go to the dialect of their platform.
#include "emulator/bus_camera.h"

#include <memory>

#include "emulator/bus_state.h"
#include "emulator/world.h"

namespace {

constexpr int32_t CameraCount = 16;  // an array of eight heads has as many
constexpr uint16_t Nothing = 0xFFFF; // what an undriven bus reads
constexpr uint32_t Never = 0xFFFFFFFF;

std::unique_ptr<EmuBusState> Cameras[CameraCount];

EmuBusState* Plugged(int32_t camera)
{
    return camera >= 0 && camera < CameraCount ? Cameras[camera].get() : nullptr;
}

EmuBusState* Powered(int32_t camera)
{
    EmuBusState* const state = Plugged(camera);
    return state != nullptr && state->powered ? state : nullptr;
}

EmuBusState* Listening(int32_t camera)
{
    EmuBusState* const state = Powered(camera);
    return state != nullptr && state->selected ? state : nullptr;
}

const EmuBusDialect* DialectOf(int32_t platform)
{
    if (platform == 28) return &EmuTarn5Bus;
    return platform == 70 || platform == 71 ? &EmuUnodBus : &EmuPatternBus;
}

uint32_t Black(uint32_t, uint32_t)
{
    return 0;
}

void FillDefaults(EmuBusCamera* setup)
{
    if (setup->wordNs == 0) setup->wordNs = 1000;
    if (setup->ambient == 0) setup->ambient = 20;
    if (setup->bits == 0) setup->bits = 16;
    if (setup->chip.scene == nullptr) setup->chip.scene = Black;
}

void PowerUp(EmuBusState* state)
{
    state->powered = true;
    state->sensor = EmuMakeSensor(state->setup.lines, state->setup.chip);
    state->exposed = false;
    state->eeprom.writable = false;
    EmuBusReset(state);
}

} // namespace

// The pattern memory keeps its words, the sensor its charge.
void EmuBusReset(EmuBusState* camera)
{
    for (uint16_t& word : camera->registers) word = 0;
    for (uint32_t& word : camera->gainWords) word = 0;
    camera->selected = camera->setup.platform == 28;
    camera->bare = false;
    camera->repeatFollows = false;
    camera->play = {};
    camera->stream = {};
    camera->linkTakes = false;
    camera->armed = false;
    camera->pixelsFrom = 0;
    camera->exposureEnds = 0;
    camera->held = false;
    camera->timers = {};
    camera->toTemperature = false;
    camera->converting = false;
    camera->converted = false;
    camera->letter.count = 0;
    EmuEepromLines(&camera->eeprom, false, false, false);
    EmuDriveCooler(camera, 0, false);
}

void EmuResetBusCameras()
{
    for (std::unique_ptr<EmuBusState>& camera : Cameras) camera.reset();
}

int32_t EmuPlugBusCamera(const EmuBusCamera& setup)
{
    int32_t index = 0;
    while (index < CameraCount && Cameras[index] != nullptr) ++index;
    if (index == CameraCount) return -1;
    Cameras[index] = std::make_unique<EmuBusState>();
    EmuBusState* const state = Cameras[index].get();
    state->setup = setup;
    FillDefaults(&state->setup);
    state->dialect = DialectOf(setup.platform);
    state->mute = Never;
    state->thermal = EmuMakeThermal(state->setup.ambient);
    state->eeprom.asBytes = setup.platform == 60;
    state->eeprom.out = true;
    state->wheel = EmuMakeWheel(setup.wheel);
    state->objective.fitted = setup.objective;
    for (uint32_t i = 0; i < 64; ++i) state->eeprom.words[i] = setup.memory[i];
    PowerUp(state);
    return index;
}

void EmuBusAddress(int32_t camera, uint16_t address)
{
    EmuBusState* const state = Powered(camera);
    if (state != nullptr) state->dialect->address(state, address);
}

void EmuBusData(int32_t camera, uint16_t word)
{
    EmuBusState* const state = Powered(camera);
    if (state != nullptr) state->dialect->data(state, word);
}

uint16_t EmuBusRead(int32_t camera)
{
    EmuBusState* const state = Listening(camera);
    return state != nullptr ? state->dialect->read(state) : Nothing;
}

void EmuBusStream(int32_t camera)
{
    EmuBusState* const state = Listening(camera);
    if (state != nullptr) state->dialect->stream(state);
}

bool EmuBusPixelWaits(int32_t camera)
{
    EmuBusState* const state = Listening(camera);
    return state != nullptr && (state->converted || EmuStreamWaits(state));
}

uint16_t EmuBusTakePixel(int32_t camera)
{
    EmuBusState* const state = Listening(camera);
    if (state == nullptr) return Nothing;
    if (!state->converted) return EmuStreamTake(state);
    state->converted = false;
    return state->conversion;
}

bool EmuBusListens(int32_t camera)
{
    return Listening(camera) != nullptr;
}

bool EmuBusByteCable(int32_t camera)
{
    const EmuBusState* const state = Plugged(camera);
    return state != nullptr && state->setup.byteCable;
}

uint16_t EmuBusRegister(int32_t camera, int32_t reg)
{
    const EmuBusState* const state = Plugged(camera);
    return state != nullptr ? state->registers[reg & 0xFF] : 0;
}

uint16_t EmuBusMemoryWord(int32_t camera, int32_t word)
{
    const EmuBusState* const state = Plugged(camera);
    return state != nullptr ? state->eeprom.words[word & 63] : 0;
}

void EmuBusSetMemoryWord(int32_t camera, int32_t word, uint16_t value)
{
    EmuBusState* const state = Plugged(camera);
    if (state != nullptr) state->eeprom.words[word & 63] = value;
}

void EmuBusPattern(int32_t camera, uint32_t address, uint32_t count, uint16_t* words)
{
    const EmuBusState* const state = Plugged(camera);
    for (uint32_t i = 0; i < count && state != nullptr; ++i) {
        words[i] = state->pattern.words[(address + i) % EmuPatternWords];
    }
}

void EmuBusSetUnit(int32_t camera, uint8_t unit)
{
    EmuBusState* const state = Plugged(camera);
    if (state != nullptr) state->setup.unit = unit;
}

void EmuBusTrigger(int32_t camera, bool seen)
{
    EmuBusState* const state = Plugged(camera);
    if (state == nullptr) return;
    const bool rising = seen && !state->trigger;
    state->trigger = seen;
    if (rising && state->powered) state->dialect->trigger(state);
}

void EmuBusPower(int32_t camera, bool on)
{
    EmuBusState* const state = Plugged(camera);
    if (state == nullptr || state->powered == on) return;
    if (on) {
        PowerUp(state);
    } else {
        EmuBusReset(state);
        state->powered = false;
    }
}

void EmuBusMute(int32_t camera, uint32_t afterPixel)
{
    EmuBusState* const state = Plugged(camera);
    if (state != nullptr) state->mute = afterPixel;
}

double EmuBusTemperature(int32_t camera)
{
    const EmuBusState* const state = Plugged(camera);
    return state != nullptr ? EmuTemperatureNow(state->thermal) : 0.0;
}

void EmuBusSetTemperature(int32_t camera, double celsius)
{
    EmuBusState* const state = Plugged(camera);
    if (state == nullptr) return;
    state->thermal.temperature = celsius;
    state->thermal.since = EmuNow();
}

int32_t EmuBusCoolerPower(int32_t camera)
{
    const EmuBusState* const state = Plugged(camera);
    return state != nullptr ? static_cast<int32_t>(state->driveCode) : 0;
}

uint16_t EmuBusFan(int32_t camera)
{
    const EmuBusState* const state = Plugged(camera);
    return state != nullptr ? state->fan : 0;
}

bool EmuBusCoolerOn(int32_t camera)
{
    const EmuBusState* const state = Plugged(camera);
    return state != nullptr && state->coolerOn;
}

uint32_t EmuBusExposures(int32_t camera)
{
    const EmuBusState* const state = Plugged(camera);
    return state != nullptr ? state->exposures : 0;
}

uint32_t EmuBusGainWord(int32_t camera, int32_t word)
{
    const EmuBusState* const state = Plugged(camera);
    return state != nullptr ? state->gainWords[word & 15] : 0;
}

uint32_t EmuBusClockWord(int32_t camera)
{
    const EmuBusState* const state = Plugged(camera);
    return state != nullptr ? state->clockTrain.word : 0;
}

EmuWheel* EmuBusWheel(int32_t camera)
{
    EmuBusState* const state = Plugged(camera);
    return state != nullptr ? &state->wheel : nullptr;
}

EmuObjective* EmuBusObjective(int32_t camera)
{
    EmuBusState* const state = Plugged(camera);
    return state != nullptr ? &state->objective : nullptr;
}
