// How the bus cameras take their pattern: an address, then the word that belongs
// there, as the link tells them apart.
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "links/card.h"
#include "links/card_link.h"
#include "links/port_card.h"

namespace {

enum SequencerBit : uint16_t { Loaded = 0x2, Run = 0x40 }; // of register 0

constexpr uint32_t CardAddressCycle = 0x4;  // of the card's control register
constexpr uint32_t PortAddressCycle = 0x80; // of the port card's link control
constexpr uint16_t PortLinkControl = 5;     // port, from PortBase

// Tarn_IV_PLUS sees the memory in halves.
constexpr uint32_t HalfWords = 32768;
constexpr int32_t HalfRegister = 12;
constexpr uint16_t UpperHalf = 0x8000;

void StopSequencer(uint32_t, int32_t camera)
{
    ClearRegisterBits(0, Run, camera);
}

void StopAndEnable(uint32_t, int32_t camera)
{
    uint16_t& control = CameraTable[camera].Registers[0];
    control = static_cast<uint16_t>((control & ~Run) | Loaded);
    WriteShadow(0, camera);
}

void EnableSequencer(int32_t camera)
{
    SetRegisterBits(0, Loaded, camera);
}

void SelectLowerHalf(int32_t camera)
{
    WriteShadow(HalfRegister, camera);
}

void NoEnd(int32_t) {}

// An address cycle, then the link turned to data cycles.
void AddressWord(uint32_t address, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint32_t mode = record.Ops.WriteAddress(address, camera);
    switch (record.InterfaceType) {
    case InterfacePort0: break;
    case InterfacePort1:
        record.Ops.PortOut(static_cast<uint16_t>(record.PortBase + PortLinkControl),
                           static_cast<uint8_t>(mode & (PortAddressCycle - 1)));
        PortReady(camera);
        break;
    default: WriteCard(CardControlReg, mode & ~CardAddressCycle, camera); break;
    }
}

void PutByLink(uint32_t address, const uint16_t* words, uint32_t count, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    for (uint32_t i = 0; i < count; ++i) {
        AddressWord(address + i, camera);
        record.Ops.WriteData(words[i], camera);
    }
}

void PutByCard(uint32_t address, const uint16_t* words, uint32_t count, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    for (uint32_t i = 0; i < count; ++i) {
        SendCardWord(record.Ops.WriteAddress(address + i, camera), words[i], camera);
    }
}

void PutByHalves(uint32_t address, const uint16_t* words, uint32_t count, int32_t camera)
{
    // Blocks of the loader do not straddle the halves.
    if (address == HalfWords) WriteRegisterWith(HalfRegister, UpperHalf, camera);
    PutByCard(address % HalfWords, words, count, camera);
}

static_assert(HalfWords % WaveBlockWords == 0);

} // namespace

const WaveSink BytePatternSink = {true, StopSequencer, PutByLink, EnableSequencer};
const WaveSink PortPatternSink = {false, StopSequencer, PutByLink, EnableSequencer};
const WaveSink CardPatternSink = {false, StopAndEnable, PutByCard, NoEnd};
const WaveSink Tarn4PlusPatternSink = {false, StopAndEnable, PutByHalves, SelectLowerHalf};

int32_t LoadBytePattern(const char* path, int32_t camera)
{
    return LoadWave(path, BytePatternSink, camera);
}

int32_t LoadPortPattern(const char* path, int32_t camera)
{
    return LoadWave(path, PortPatternSink, camera);
}

int32_t LoadCardPattern(const char* path, int32_t camera)
{
    return LoadWave(path, CardPatternSink, camera);
}

int32_t LoadTarn4PlusPattern(const char* path, int32_t camera)
{
    return LoadWave(path, Tarn4PlusPatternSink, camera);
}
