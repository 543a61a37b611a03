// HERON_Plus and OSPREY on USB. A byte with bit 7 set names a register, the next one is
// its value. 0x40 in the place of a name asks for the status whose number stands in
// register 0. A lone value of register 0 is a command.
#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

constexpr uint8_t NamesRegister = 0x80;
constexpr uint8_t Asks = 0x40;

void TakeByte(EmuUsbState* camera, uint8_t byte)
{
    if (camera->received != 0) {
        camera->received = 0;
        EmuHeronWrite(camera, camera->sentence[0] & 0x7Fu, byte);
    } else if (byte & NamesRegister) {
        camera->sentence[0] = byte;
        camera->received = 1;
    } else if (byte == Asks) {
        const uint8_t answer = EmuHeronRead(camera, camera->registers[0]);
        EmuUsbSend(camera, &answer, 1, EmuNow(), 0);
    } else {
        EmuUsbStray(camera, byte);
    }
}

void Receive(EmuUsbState* camera, const uint8_t* bytes, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i) TakeByte(camera, bytes[i]);
}

} // namespace

const EmuUsbDialect EmuHeronPlus = {EmuHeronPowerUp, Receive, EmuUsbTriggered, EmuUsbLook};
