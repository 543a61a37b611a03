#include "emulator/usb_state.h"

namespace {

void PowerUp(EmuUsbState*) {}

void Receive(EmuUsbState* camera, const uint8_t* bytes, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i) EmuUsbStray(camera, bytes[i]);
}

} // namespace

const EmuUsbDialect EmuTolmE = {PowerUp, Receive};
