// The USB cameras that are plugged in: what comes along their pipes goes to the dialect
// of their platform.
#include "emulator/usb_camera.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include "emulator/traffic.h"
#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

constexpr int32_t CameraCount = 8;
constexpr uint32_t Never = 0xFFFFFFFF;
constexpr size_t DescriptionLength = 24;

struct Family {
    int32_t platform;
    const char* name;
    const EmuUsbDialect* dialect;
    bool synchronous; // its device has to be in that bit mode
    bool adaptor;     // behind the adaptor library
    bool wide;        // its pattern has words of 16 bits
};

// clang-format off
const Family Families[] = {
    {28,  "Tarn_V",      &EmuTarn5Usb,   false, true,  true},
    {29,  "Tarn_U",      &EmuTarnU,      true,  false, false},
    {48,  "R4-DSP",      &EmuR4Dsp,      true,  false, false},
    {61,  "HERON_Plus",  &EmuHeronPlus,  false, false, false},
    {200, "OSPREY",      &EmuHeronPlus,  false, false, true},
    {205, "OSPREY_Plus", &EmuOspreyPlus, false, true,  true},
    {300, "WREN",        &EmuTolmE,      false, false, false},
    {400, "TOLM",        &EmuTolm,       true,  false, false},
    {450, "TOLM_E",      &EmuTolmE,      false, false, false},
};
// clang-format on

std::unique_ptr<EmuUsbState> Cameras[CameraCount];

const Family* FamilyOf(int32_t platform)
{
    for (const Family& family : Families) {
        if (family.platform == platform) return &family;
    }
    return nullptr;
}

EmuUsbState* Plugged(int32_t camera)
{
    return camera >= 0 && camera < CameraCount ? Cameras[camera].get() : nullptr;
}

uint32_t Black(uint32_t, uint32_t)
{
    return 0;
}

void FillDefaults(EmuUsbCamera* setup)
{
    if (setup->wordNs == 0) setup->wordNs = 1000;
    if (setup->ambient == 0) setup->ambient = 20;
    if (setup->chip.scene == nullptr) setup->chip.scene = Black;
}

// The pattern memory keeps its words.
void PowerUp(EmuUsbState* state)
{
    state->powered = true;
    ++state->powerUps;
    state->received = 0;
    for (uint16_t& word : state->registers) word = 0;
    for (uint32_t& word : state->gainWords) word = 0;
    for (uint16_t& word : state->geometry) word = 0;
    state->sensor = EmuMakeSensor(state->setup.lines, state->setup.chip);
    state->repeat = 0;
    state->end = 0;
    state->exposureEnds = 0;
    state->busyUntil = 0;
    state->armed = false;
    state->letter = {};
    state->light = false;
    state->frameWaits = false;
    state->asked = 0;
    state->fan = 0;
    state->conversion = 0;
    EmuUsbDriveCooler(state, 0, false, 1);
    state->dialect->powerUp(state);
}

void Receive(int32_t camera, const uint8_t* bytes, uint32_t count)
{
    EmuUsbState* const state = Plugged(camera);
    if (state != nullptr && state->powered) state->dialect->receive(state, bytes, count);
}

// Of the USB chip alone: the camera behind it has seen half a sentence at most.
void ResetChip(int32_t camera)
{
    EmuUsbState* const state = Plugged(camera);
    if (state != nullptr) state->received = 0;
}

void Look(int32_t camera)
{
    EmuUsbState* const state = Plugged(camera);
    const bool looks = state != nullptr && state->powered && state->dialect->look != nullptr;
    if (looks) state->dialect->look(state);
}

bool PlugDevice(const EmuUsbState& state, const Family& family)
{
    char serial[16];
    snprintf(serial, sizeof serial, "%08d", state.index + 1);
    std::string description = family.name;
    description.resize(DescriptionLength, '0');
    const EmuUsbCamera& setup = state.setup;
    const EmuUsbDevice device = {
        setup.serial != nullptr ? setup.serial : serial,
        setup.description != nullptr ? setup.description : description.c_str(),
        family.synchronous,
        state.index,
        Receive,
        ResetChip,
        Look,
    };
    return EmuPlugUsbAt(state.index, device) >= 0;
}

} // namespace

void EmuResetUsbCameras()
{
    for (std::unique_ptr<EmuUsbState>& camera : Cameras) camera.reset();
}

int32_t EmuPlugUsbCamera(const EmuUsbCamera& setup)
{
    int32_t index = 0;
    while (Plugged(index) != nullptr) ++index;
    return EmuPlugUsbCameraAt(index, setup);
}

int32_t EmuPlugUsbCameraAt(int32_t index, const EmuUsbCamera& setup)
{
    const Family* const family = FamilyOf(setup.platform);
    const bool free = index >= 0 && index < CameraCount && Cameras[index] == nullptr;
    if (family == nullptr || !free) return -1;
    auto camera = std::make_unique<EmuUsbState>();
    camera->setup = setup;
    FillDefaults(&camera->setup);
    camera->dialect = family->dialect;
    camera->index = index;
    camera->adaptor = family->adaptor;
    camera->mute = Never;
    camera->stall = Never;
    camera->thermal = EmuMakeThermal(camera->setup.ambient);
    camera->wheel = EmuMakeWheel(setup.wheel);
    for (uint32_t i = 0; i < 64; ++i) camera->memory[i] = setup.memory[i];
    if (!family->adaptor && !PlugDevice(*camera, *family)) return -1;
    Cameras[index] = std::move(camera);
    PowerUp(Cameras[index].get());
    return index;
}

void EmuUnplugUsbCamera(int32_t camera)
{
    EmuUsbState* const state = Plugged(camera);
    if (state == nullptr) return;
    state->powered = false;
    state->adaptorPipe = {};
    if (!state->adaptor) EmuUnplugUsb(camera);
}

void EmuReplugUsbCamera(int32_t camera)
{
    EmuUsbState* const state = Plugged(camera);
    if (state == nullptr || state->powered) return;
    if (!state->adaptor) EmuReplugUsb(camera);
    PowerUp(state);
}

// --- what the dialects share ---

void EmuUsbSend(EmuUsbState* camera, const uint8_t* bytes, uint32_t count, uint64_t at,
                uint32_t byteNs)
{
    const uint32_t sent = std::min(count, camera->mute);
    if (camera->mute != Never) camera->mute -= sent;
    if (camera->adaptor) {
        EmuPipeSend(&camera->adaptorPipe, bytes, sent, at, byteNs);
    } else {
        EmuUsbReply(camera->index, bytes, sent, at, byteNs);
    }
}

void EmuUsbBeginFrame(EmuUsbState* camera, uint32_t hbin)
{
    const uint32_t lag = camera->setup.lagWords + camera->setup.lagCells / std::max(hbin, 1u);
    camera->late.assign(size_t{2} * lag, 0);
    camera->pixelsLeft = camera->stall;
}

void EmuUsbSendPixels(EmuUsbState* camera, std::vector<uint8_t>* bytes, uint64_t at,
                      uint32_t byteNs)
{
    const size_t size = bytes->size();
    bytes->insert(bytes->begin(), camera->late.begin(), camera->late.end());
    camera->late.assign(bytes->begin() + static_cast<ptrdiff_t>(size), bytes->end());
    const auto pixels = static_cast<uint32_t>(std::min<size_t>(size / 2, camera->pixelsLeft));
    if (camera->pixelsLeft != Never) camera->pixelsLeft -= pixels;
    EmuUsbSend(camera, bytes->data(), 2 * pixels, at, byteNs);
}

void EmuUsbDropSent(EmuUsbState* camera)
{
    if (camera->adaptor) {
        EmuPipeDrop(&camera->adaptorPipe);
    } else {
        EmuUsbDropReplies(camera->index);
    }
}

EmuUsbState* EmuFindAdaptorCamera(int32_t device)
{
    EmuUsbState* const state = Plugged(device);
    return state != nullptr && state->adaptor && state->powered ? state : nullptr;
}

uint16_t EmuSceneBin(const EmuUsbState& camera, int64_t column, int64_t row, uint32_t hbin,
                     uint32_t vbin)
{
    const EmuChip& chip = camera.setup.chip;
    const int64_t left = std::max<int64_t>(column, 0), top = std::max<int64_t>(row, 0);
    const int64_t right = std::min<int64_t>(column + hbin, chip.columns);
    const int64_t bottom = std::min<int64_t>(row + vbin, chip.rows);
    uint64_t sum = 0;
    for (int64_t y = top; y < bottom; ++y) {
        for (int64_t x = left; x < right; ++x) {
            sum += chip.scene(static_cast<uint32_t>(x), static_cast<uint32_t>(y));
        }
    }
    return static_cast<uint16_t>(std::min<uint64_t>(sum, 0xFFFF));
}

void EmuUsbDriveCooler(EmuUsbState* camera, uint32_t code, bool on, uint32_t most)
{
    camera->driveCode = code;
    camera->coolerOn = on;
    const double part = static_cast<double>(std::min(code, most)) / most;
    EmuSetCooling(&camera->thermal, on ? part : 0.0);
}

uint16_t EmuUsbThermometer(const EmuUsbState& camera, double countsPerKelvin, uint32_t most)
{
    return EmuKelvinCount(EmuTemperatureNow(camera.thermal), countsPerKelvin, most);
}

void EmuUsbStray(EmuUsbState* camera, uint8_t byte)
{
    ++camera->stray;
    EmuNote("stray byte %02X", byte);
}

// --- what a test asks ---

uint16_t EmuUsbRegister(int32_t camera, int32_t reg)
{
    const EmuUsbState* const state = Plugged(camera);
    return state != nullptr ? state->registers[reg & 0xFF] : 0;
}

uint32_t EmuUsbLongRegister(int32_t camera, int32_t reg)
{
    uint32_t value = 0;
    for (int32_t i = 3; i >= 0; --i) value = value << 8 | (EmuUsbRegister(camera, reg + i) & 0xFFu);
    return value;
}

uint16_t EmuUsbMemoryWord(int32_t camera, int32_t word)
{
    const EmuUsbState* const state = Plugged(camera);
    return state != nullptr ? state->memory[word & 63] : 0;
}

void EmuUsbSetMemoryWord(int32_t camera, int32_t word, uint16_t value)
{
    EmuUsbState* const state = Plugged(camera);
    if (state != nullptr) state->memory[word & 63] = value;
}

uint32_t EmuUsbPatternBytes(int32_t camera, uint32_t address, uint32_t count, uint8_t* bytes)
{
    const EmuUsbState* const state = Plugged(camera);
    if (state == nullptr) return 0;
    const bool wide = FamilyOf(state->setup.platform)->wide;
    const uint32_t room = wide ? 2 * EmuPatternWords : EmuPatternWords;
    uint32_t done = 0;
    for (; done < count && address < room; ++address, ++done) {
        const uint16_t* const words = state->pattern.words;
        bytes[done] =
            static_cast<uint8_t>(wide ? words[address / 2] >> 8 * (address % 2) : words[address]);
    }
    return done;
}

void EmuUsbTrigger(int32_t camera, bool seen)
{
    EmuUsbState* const state = Plugged(camera);
    if (state == nullptr) return;
    const bool rising = seen && !state->trigger;
    state->trigger = seen;
    if (rising && state->powered && state->dialect->trigger != nullptr) {
        state->dialect->trigger(state);
    }
}

EmuWheel* EmuUsbWheel(int32_t camera)
{
    EmuUsbState* const state = Plugged(camera);
    return state != nullptr ? &state->wheel : nullptr;
}

void EmuUsbMute(int32_t camera, uint32_t bytes)
{
    EmuUsbState* const state = Plugged(camera);
    if (state != nullptr) state->mute = bytes;
}

void EmuUsbStall(int32_t camera, uint32_t afterPixel)
{
    EmuUsbState* const state = Plugged(camera);
    if (state != nullptr) state->stall = afterPixel;
}

void EmuUsbHang(int32_t camera)
{
    EmuUsbState* const state = Plugged(camera);
    if (state != nullptr) state->busyUntil = UINT64_MAX;
}

double EmuUsbTemperature(int32_t camera)
{
    const EmuUsbState* const state = Plugged(camera);
    return state != nullptr ? EmuTemperatureNow(state->thermal) : 0.0;
}

void EmuUsbSetTemperature(int32_t camera, double celsius)
{
    EmuUsbState* const state = Plugged(camera);
    if (state == nullptr) return;
    state->thermal.temperature = celsius;
    state->thermal.since = EmuNow();
}

int32_t EmuUsbCoolerPower(int32_t camera)
{
    const EmuUsbState* const state = Plugged(camera);
    return state != nullptr ? static_cast<int32_t>(state->driveCode) : 0;
}

bool EmuUsbCoolerOn(int32_t camera)
{
    const EmuUsbState* const state = Plugged(camera);
    return state != nullptr && state->coolerOn;
}

uint16_t EmuUsbFan(int32_t camera)
{
    const EmuUsbState* const state = Plugged(camera);
    return state != nullptr ? state->fan : 0;
}

uint32_t EmuUsbExposures(int32_t camera)
{
    const EmuUsbState* const state = Plugged(camera);
    return state != nullptr ? state->exposures : 0;
}

uint32_t EmuUsbGainWord(int32_t camera, int32_t word)
{
    const EmuUsbState* const state = Plugged(camera);
    return state != nullptr ? state->gainWords[word & 7] : 0;
}

uint32_t EmuUsbCommands(int32_t camera, int32_t command)
{
    const EmuUsbState* const state = Plugged(camera);
    return state != nullptr ? state->commands[command & 0xFF] : 0;
}

uint16_t EmuUsbGeometry(int32_t camera, int32_t word)
{
    const EmuUsbState* const state = Plugged(camera);
    return state != nullptr ? state->geometry[word & 31] : 0;
}

uint32_t EmuUsbStrayBytes(int32_t camera)
{
    const EmuUsbState* const state = Plugged(camera);
    return state != nullptr ? state->stray : 0;
}
