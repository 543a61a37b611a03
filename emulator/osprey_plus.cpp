// OSPREY_Plus behind the adaptor: pairs of register and value, a byte each. Register 0
// takes commands, and with bit 7 set the number of a status, of which a byte then stands
// on the port.
#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

constexpr uint8_t AsksStatus = 0x80;
constexpr uint8_t Registers = 0x80;

void TakePair(EmuUsbState* camera, uint8_t reg, uint8_t value)
{
    if (reg >= Registers) {
        EmuUsbStray(camera, reg);
    } else if (reg == 0 && value & AsksStatus) {
        const uint8_t status = EmuHeronRead(camera, value & 0x7Fu);
        EmuUsbDropSent(camera);
        EmuUsbSend(camera, &status, 1, EmuNow(), 0);
    } else {
        EmuHeronWrite(camera, reg, value);
    }
}

void Receive(EmuUsbState* camera, const uint8_t* bytes, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i) {
        camera->sentence[camera->received++] = bytes[i];
        if (camera->received < 2) continue;
        camera->received = 0;
        TakePair(camera, camera->sentence[0], camera->sentence[1]);
    }
}

} // namespace

const EmuUsbDialect EmuOspreyPlus = {EmuHeronPowerUp, Receive, EmuUsbTriggered, EmuUsbLook};
