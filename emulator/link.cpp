// The far end of a link.
#include "emulator/link.h"

#include "emulator/bus_camera.h"
#include "emulator/traffic.h"

namespace {

constexpr uint16_t FirstPrefix = 0xFFE0, StreamPrefix = 0xFFE2;
constexpr uint16_t StaleWord = 0x5A5A;

const EmuFarEnd BusCameras = {EmuBusAddress, EmuBusData,       EmuBusRead,
                              EmuBusStream,  EmuBusPixelWaits, EmuBusTakePixel,
                              EmuBusListens, EmuBusByteCable,  EmuBusSetUnit};
EmuFarEnd FarEnd = BusCameras;

} // namespace

std::mutex& EmuLinkLock()
{
    static std::mutex lock;
    return lock;
}

void EmuSendAddress(int32_t camera, uint16_t address)
{
    if (camera < 0) return;
    EmuNoteCycle("address %04X", address);
    FarEnd.Address(camera, address);
}

void EmuSendData(int32_t camera, uint16_t word)
{
    if (camera < 0) return;
    EmuNoteCycle("data %04X", word);
    FarEnd.Data(camera, word);
}

bool EmuAnswers(int32_t camera)
{
    return camera >= 0 && FarEnd.Listens(camera);
}

uint16_t EmuFetch(int32_t camera)
{
    const uint16_t word = EmuAnswers(camera) ? FarEnd.Read(camera) : 0xFFFF;
    EmuNoteCycle("read %04X", word);
    return word;
}

bool EmuHasByteCable(int32_t camera)
{
    return camera >= 0 && FarEnd.ByteCable(camera);
}

void EmuPlaceInArray(int32_t camera, int32_t unit)
{
    if (camera >= 0) FarEnd.SetUnit(camera, static_cast<uint8_t>(unit));
}

void EmuBeginTaking(EmuIncoming* incoming, int32_t camera, bool stale)
{
    *incoming = {camera, 0, stale};
    EmuNoteCycle("stream");
    if (camera >= 0) FarEnd.Stream(camera);
}

bool EmuWordWaits(EmuIncoming* incoming)
{
    if (incoming->camera < 0) return false;
    if (incoming->stale) return true;
    while (incoming->owed != 0 && FarEnd.PixelWaits(incoming->camera)) {
        FarEnd.TakePixel(incoming->camera);
        --incoming->owed;
    }
    return FarEnd.PixelWaits(incoming->camera);
}

uint16_t EmuTakeWord(EmuIncoming* incoming)
{
    EmuNoteCycle("pixel");
    if (incoming->stale) {
        incoming->stale = false;
        return StaleWord;
    }
    if (EmuWordWaits(incoming)) return FarEnd.TakePixel(incoming->camera);
    ++incoming->owed;
    return 0xFFFF;
}

bool EmuStreamsAfter(uint16_t address, bool before)
{
    return address >= FirstPrefix ? address == StreamPrefix : before;
}

void EmuUseFarEnd(const EmuFarEnd& farEnd)
{
    FarEnd = farEnd;
}

void EmuResetFarEnd()
{
    FarEnd = BusCameras;
}
