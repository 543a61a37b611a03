// TOLM: byte registers and a sensor that is told where its lines begin and end.
#include <algorithm>

#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

enum Register : uint8_t {
    FirstBin = 1, // words up to here and at 3, 5, 8, 10, 12
    EndBin = 3,
    RegisterSize = 5,
    HorBin = 7, // less one
    FirstLine = 8,
    EndLine = 10,
    Lines = 12,
    VerBin = 14, // less one
    Run = 15,
    FrontEndLines = 17,
    FrontEndByte = 18,
    ExposureTime = 20,
    Cleared = 25,
    Version = 30,
    FrameData = 31,
};

// Run.
constexpr uint8_t TakesWindow = 0x01, StartsFrame = 0x02, Clears = 0x44;
// FrontEndLines.
constexpr uint8_t FrontEndSelect = 0x04, FrontEndStrobe = 0x08, ClearLine = 0x10;
constexpr uint8_t IsCleared = 0x40;

constexpr uint64_t ClearUs = 10'000;

uint16_t Word(const EmuUsbState& camera, uint8_t address)
{
    return static_cast<uint16_t>(camera.registers[address] | camera.registers[address + 1] << 8);
}

// What stands in the registers counts from here on.
void TakeWindow(EmuUsbState* camera)
{
    for (const uint8_t word : {FirstBin, EndBin, RegisterSize, FirstLine, EndLine, Lines}) {
        camera->geometry[word] = Word(*camera, word);
    }
    for (const uint8_t byte : {HorBin, VerBin}) {
        camera->geometry[byte] = camera->registers[byte] + 1u;
    }
}

void RunLines(EmuUsbState* camera, uint8_t before, uint8_t now)
{
    const auto rising = static_cast<uint8_t>(now & ~before);
    if ((rising & TakesWindow) != 0) TakeWindow(camera);
    if ((rising & StartsFrame) != 0) {
        camera->reading = true;
        camera->exposureEnds = EmuNow() + EmuUsbLongRegister(camera->index, ExposureTime);
    }
    const bool clearing = (camera->registers[FrontEndLines] & ClearLine) != 0;
    if (clearing && (rising & Clears) == Clears) camera->clearedAt = EmuNow() + ClearUs;
    if ((now & Clears) == 0) camera->clearedAt = 0;
}

// Two bytes, the high one first; the word is taken as the front end is let go.
void FrontEnd(EmuUsbState* camera, uint8_t before, uint8_t now)
{
    if ((now & ~before & FrontEndStrobe) != 0) {
        camera->frontEnd = camera->frontEnd << 8 | (camera->registers[FrontEndByte] & 0xFFu);
    }
    if ((before & ~now & FrontEndSelect) == 0) return;
    camera->gainWords[camera->frontEnd >> 12 & 7] = camera->frontEnd & 0x1FF;
    camera->frontEnd = 0;
}

void Write(EmuUsbState* camera, uint8_t address, uint8_t value)
{
    const auto before = static_cast<uint8_t>(camera->registers[address]);
    camera->registers[address] = value;
    if (address == Run) RunLines(camera, before, value);
    if (address == FrontEndLines) FrontEnd(camera, before, value);
}

uint8_t Read(EmuUsbState* camera, uint8_t address)
{
    if (address == Version) return static_cast<uint8_t>(camera->setup.version);
    if (address != Cleared) return static_cast<uint8_t>(camera->registers[address]);
    return camera->clearedAt != 0 && EmuNow() >= camera->clearedAt ? IsCleared : 0;
}

void SendFrame(EmuUsbState* camera, uint32_t bytes)
{
    if (!camera->reading) return;
    camera->reading = false;
    const uint16_t* const window = camera->geometry;
    const int64_t leading = camera->setup.chip.leading;
    const int64_t width = window[EndBin] - window[FirstBin];
    const int64_t height = window[EndLine] - window[FirstLine];
    if (width <= 0 || height <= 0) return;
    EmuUsbFrame frame = {};
    frame.light = true;
    frame.column = (window[FirstBin] - leading) * window[HorBin];
    frame.row = int64_t{window[FirstLine]} * window[VerBin];
    frame.columnEnd = window[RegisterSize] - leading;
    frame.rowEnd = int64_t{window[Lines]} * window[VerBin];
    frame.hbin = window[HorBin];
    frame.vbin = window[VerBin];
    frame.width = static_cast<uint32_t>(width);
    frame.words = std::min<uint64_t>(static_cast<uint64_t>(width * height), bytes / 2);
    ++camera->exposures;
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
    camera->frontEnd = 0;
    camera->clearedAt = 0;
}

} // namespace

const EmuUsbDialect EmuTolm = {PowerUp, Receive};
