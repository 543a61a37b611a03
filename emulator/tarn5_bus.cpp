// Tarn_V on the bus: an address cycle names a register, and what is read is selected in
// register 0.
//
// A section is started by hand, or armed: then it starts at the end of the exposure.
// The link may begin to take pixels at any time before.
#include "emulator/bus_state.h"
#include "emulator/world.h"

namespace {

constexpr uint16_t ShutterOpens = 0x0004;
constexpr uint16_t RegisterMask = EmuTarn5Registers - 1;
constexpr uint16_t StatusMask = 0x1F;

EmuTarn5 Parts(EmuBusState* camera)
{
    return {camera->registers, &camera->pattern,  camera->eeprom.words, &camera->letter,
            &camera->gain,     camera->gainWords, &camera->thermal,     &camera->driveCode,
            &camera->coolerOn, &camera->fan,      &camera->repeat,      &camera->end,
            &camera->wheel};
}

void TryStream(EmuBusState* camera)
{
    if (!camera->play.waits || !camera->linkTakes) return;
    if (camera->registers[EmuTarn5Control] & EmuTarn5Sends) {
        EmuStreamSection(camera, camera->exposureEnds);
    }
}

void Select(EmuBusState* camera, uint16_t now)
{
    if ((now & RegisterMask) != EmuTarn5LeaveStream) return;
    EmuStopSection(camera);
    camera->linkTakes = false;
    camera->armed = false;
}

void Control(EmuBusState* camera, uint16_t before, uint16_t now)
{
    const uint16_t rising = now & ~before;
    if (rising & EmuTarn5ByHand) {
        camera->armed = false;
        EmuStopSection(camera);
    }
    if ((rising & EmuTarn5Starts) == EmuTarn5Starts) {
        EmuStartSection(camera, camera->registers[EmuTarn5Page]);
    }
    if ((now & (EmuTarn5ByHand | EmuTarn5Starts)) == EmuTarn5ByHand && !(now & EmuTarn5Sends)) {
        EmuFinishSection(camera);
    }
    if (rising & EmuTarn5Sends && !(now & EmuTarn5ByHand)) camera->armed = true;
    TryStream(camera);
}

void StartCounter(EmuBusState* camera)
{
    const uint64_t time = EmuTarn5Time(Parts(camera));
    if (time == 0) return;
    camera->exposureEnds = EmuNow() + time;
    if (camera->registers[EmuTarn5Shutter] & ShutterOpens) EmuLight(camera);
    if (!camera->armed) return;
    camera->armed = false;
    EmuStartSection(camera, camera->registers[EmuTarn5Page]);
    TryStream(camera);
}

void Address(EmuBusState* camera, uint16_t address)
{
    camera->address = address & RegisterMask;
}

void Data(EmuBusState* camera, uint16_t word)
{
    const uint32_t reg = camera->address;
    const uint16_t before = camera->registers[reg];
    EmuTarn5Write(Parts(camera), reg, word);
    switch (reg) {
    case EmuTarn5Select: Select(camera, word); break;
    case EmuTarn5Control: Control(camera, before, word); break;
    case EmuTarn5TimeHigh: StartCounter(camera); break;
    default: break;
    }
}

uint16_t Read(EmuBusState* camera)
{
    const uint32_t number = camera->registers[EmuTarn5Select] & StatusMask;
    return EmuTarn5Read(Parts(camera), number, camera->trigger, camera->setup.version);
}

void Stream(EmuBusState* camera)
{
    camera->linkTakes = true;
    TryStream(camera);
}

void Trigger(EmuBusState*) {}

} // namespace

const EmuBusDialect EmuTarn5Bus = {Address, Data, Read, Stream, Trigger};
