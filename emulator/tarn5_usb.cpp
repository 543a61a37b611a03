// Tarn_V behind the adaptor: pairs of register and value, a word each. With bit 5 of
// register 0 the status that its low bits name stands on the port; it is there for the
// taking as often as the host looks, unless pixels are on their way.
#include "emulator/tarn5.h"
#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

constexpr uint16_t SelectsStatus = 0x20;
constexpr uint16_t StatusMask = 0x1F;
constexpr uint16_t OnTrigger = 0x0001; // of the shutter register

EmuTarn5 Parts(EmuUsbState* camera)
{
    return {camera->registers, &camera->pattern,  camera->memory,   &camera->letter,
            &camera->gain,     camera->gainWords, &camera->thermal, &camera->driveCode,
            &camera->coolerOn, &camera->fan,      &camera->repeat,  &camera->end,
            &camera->wheel};
}

void Select(EmuUsbState* camera, uint16_t now)
{
    camera->statusDue = (now & SelectsStatus) != 0;
    if (camera->statusDue) EmuUsbDropSent(camera);
    if ((now & StatusMask) == EmuTarn5LeaveStream) EmuUsbStopSections(camera);
}

void SendStatus(EmuUsbState* camera)
{
    camera->statusDue = false;
    const uint32_t number = camera->registers[EmuTarn5Select] & StatusMask;
    const uint16_t word =
        EmuTarn5Read(Parts(camera), number, camera->trigger, camera->setup.version);
    const uint8_t bytes[] = {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8)};
    EmuUsbSend(camera, bytes, sizeof bytes, EmuNow(), 0);
}

uint32_t SectionLines(uint16_t value)
{
    return (value & EmuTarn5ByHand ? EmuByHand : 0u) |
           ((value & EmuTarn5Starts) == EmuTarn5Starts ? EmuStart : 0u) |
           (value & EmuTarn5Sends ? EmuSends : 0u);
}

void StartCounter(EmuUsbState* camera)
{
    const uint64_t time = EmuTarn5Time(Parts(camera));
    const bool onTrigger = (camera->registers[EmuTarn5Shutter] & OnTrigger) != 0;
    if (time != 0) EmuUsbCount(camera, time, onTrigger);
}

void TakePair(EmuUsbState* camera, uint16_t reg, uint16_t value)
{
    if (reg >= EmuTarn5Registers) {
        EmuUsbStray(camera, static_cast<uint8_t>(reg));
        return;
    }
    const uint16_t before = camera->registers[reg];
    EmuTarn5Write(Parts(camera), reg, value);
    switch (reg) {
    case EmuTarn5Select: Select(camera, value); break;
    case EmuTarn5Control:
        if (value & EmuTarn5Sends) camera->statusDue = false; // pixels come ahead of it
        EmuUsbSections(camera, SectionLines(before), SectionLines(value),
                       camera->registers[EmuTarn5Page]);
        break;
    case EmuTarn5Shutter:
        if (!(value & OnTrigger)) camera->play.awaitsTrigger = false;
        break;
    case EmuTarn5TimeHigh: StartCounter(camera); break;
    default: break;
    }
}

void Receive(EmuUsbState* camera, const uint8_t* bytes, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i) {
        uint8_t* const pair = camera->sentence;
        pair[camera->received++] = bytes[i];
        if (camera->received < 4) continue;
        camera->received = 0;
        TakePair(camera, static_cast<uint16_t>(pair[0] | pair[1] << 8),
                 static_cast<uint16_t>(pair[2] | pair[3] << 8));
    }
}

void Look(EmuUsbState* camera)
{
    if (!camera->statusDue && camera->play.followsCount) {
        EmuUsbLook(camera);
        return;
    }
    const bool selected = (camera->registers[EmuTarn5Select] & SelectsStatus) != 0;
    if (camera->statusDue || (selected && EmuPipeHolds(camera->adaptorPipe) == 0)) {
        SendStatus(camera);
    }
}

void PowerUp(EmuUsbState* camera)
{
    camera->play = {};
    camera->letter = {};
    camera->gain = {};
    camera->statusDue = false;
}

} // namespace

const EmuUsbDialect EmuTarn5Usb = {PowerUp, Receive, EmuUsbTriggered, Look};
