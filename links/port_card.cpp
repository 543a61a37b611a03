#include "links/port_card.h"

#include "core/errors.h"
#include "core/record.h"
#include "links/bus_map.h"
#include "links/delay.h"
#include "links/port_loader.h"

namespace {

// Distances from PortBase.
enum CardPort : uint16_t {
    WordPort = 0,
    ModePort4 = 4,
    LinkPort = 5,
    ModePort6 = 6,
    StatusPort7 = 7,
};
constexpr uint16_t PortCount = 8;

// Bits of link control. A data cycle has neither.
enum LinkMode : uint32_t {
    ReadMode = 0x40,
    AddressMode = 0x80,
};

// Bits of the status port.
enum CardStatus : uint32_t {
    ReplyHere = 0x01, // serial
    WordTakenSerial = 0x02,
    WordTaken = 0x04,
    CameraBusy = 0x10,
    PresenceBits = 0x60, // of which a card that is there sets one
    CardPresent = 0x40,
};

constexpr int32_t TakenPolls = 1001;
constexpr int32_t ReplyPolls = 50001;
constexpr int32_t ReadyPolls = 1000000;
constexpr uint32_t ReplyPause = 10; // microseconds, where a wait has no bound

uint16_t PortAt(const CameraRecord& record, CardPort distance)
{
    return static_cast<uint16_t>(record.PortBase + distance);
}

uint32_t ReadPort(CardPort distance, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    return record.Ops.PortIn(PortAt(record, distance));
}

void WritePort(CardPort distance, uint32_t value, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    record.Ops.PortOut(PortAt(record, distance), static_cast<uint8_t>(value));
}

uint16_t ReadWordPort(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    return record.Ops.PortWordIn(PortAt(record, WordPort));
}

void SendWord(uint32_t word, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    record.Ops.PortWordOut(PortAt(record, WordPort), static_cast<uint16_t>(word));
    PortReady(camera);
}

// Polls the status port until a bit of `mask` is as `wanted` says: 1 if it never is.
int32_t AwaitStatus(uint32_t mask, bool wanted, int32_t polls, int32_t camera)
{
    for (int32_t poll = 0; poll < polls; ++poll) {
        if (((ReadPort(StatusPort7, camera) & mask) != 0) == wanted) return 0;
    }
    return 1;
}

uint32_t PortWriteAddress(uint32_t address, int32_t camera)
{
    const uint32_t mode = (ReadPort(LinkPort, camera) & 0xBF) | AddressMode;
    WritePort(LinkPort, mode, camera);
    PortReady(camera);
    SendWord(address, camera);
    return mode;
}

void PortWriteRegister(int32_t reg, int32_t value, int32_t camera)
{
    const uint32_t mode = PortWriteAddress(BusRegisters + static_cast<uint32_t>(reg), camera);
    WritePort(LinkPort, mode & 0x7F, camera);
    PortReady(camera);
    SendWord(static_cast<uint32_t>(value), camera);
}

// `mode` is what WriteAddress returned. Over a serial cable the word has to be
// asked for; the answer is waited for by the caller.
void StartRead(uint32_t mode, int32_t camera)
{
    WritePort(LinkPort, (mode & 0x7F) | ReadMode, camera);
    if (CameraTable[camera].SerialLink != 0) SendWord(0, camera);
}

uint16_t ReadAddressed(uint32_t mode, int32_t camera)
{
    StartRead(mode, camera);
    if (CameraTable[camera].SerialLink != 0) AwaitStatus(ReplyHere, true, ReplyPolls, camera);
    return ReadWordPort(camera);
}

uint16_t PortReadRegister(int32_t reg, int32_t camera)
{
    PortWriteAddress(BusRegisterPrefix, camera);
    return ReadAddressed(PortWriteAddress(BusRegisters + static_cast<uint32_t>(reg), camera),
                         camera);
}

uint32_t PortReadStatus(int32_t selector, int32_t camera)
{
    return ReadAddressed(PortWriteAddress(BusStatus + static_cast<uint32_t>(selector), camera),
                         camera);
}

uint32_t PortPeek(uint32_t address, int32_t camera)
{
    StartRead(BeginBusPeek(address, camera), camera);
    if (CameraTable[camera].SerialLink != 0) {
        while ((ReadPort(StatusPort7, camera) & ReplyHere) == 0) {
            DelayMicroseconds(ReplyPause, camera);
        }
    }
    return ReadWordPort(camera);
}

uint16_t PortReadData(int32_t camera)
{
    ReadPort(StatusPort7, camera);
    return ReadWordPort(camera);
}

int32_t PortWaitReady(int32_t camera)
{
    if (CameraTable[camera].SerialLink != 0)
        return AwaitStatus(ReplyHere, true, ReadyPolls, camera);
    return AwaitStatus(CameraBusy, false, ReadyPolls, camera);
}

void PortResetLink(int32_t camera)
{
    WritePort(LinkPort, (ReadPort(LinkPort, camera) & 0x7F) | ReadMode, camera);
    ReadWordPort(camera);
}

} // namespace

int32_t OpenPortCard(uint16_t base, bool serial, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.SerialLink = serial ? 1 : 0;
    record.SerialLinkAcknowledged = 0;
    record.PortBase = base;
    const int32_t error = AcquirePorts(base, PortCount, camera);
    if (error != ErrorNone) return error;
    if ((ReadPort(StatusPort7, camera) & PresenceBits) != CardPresent) return ErrorCardNotFound;
    WritePort(ModePort4, 11, camera);
    WritePort(ModePort6, serial ? 128 : 9, camera);
    WritePort(StatusPort7, 2, camera);
    ReadWordPort(camera);
    return ErrorNone;
}

int32_t PortReady(int32_t camera)
{
    const uint32_t taken = CameraTable[camera].SerialLink != 0 ? WordTakenSerial : WordTaken;
    return AwaitStatus(taken, true, TakenPolls, camera);
}

const CameraOps PortCardOps = {
    .Poke = BusPoke,
    .Peek = PortPeek,
    .PokeW = BusPoke,
    .PeekW = PortPeek,
    .ReadRegister = PortReadRegister,
    .WriteRegister = PortWriteRegister,
    .WaitReady = PortWaitReady,
    .WriteData = SendWord,
    .WriteAddress = PortWriteAddress,
    .ResetLink = PortResetLink,
    .ReadData = PortReadData,
    .ReadStatus = PortReadStatus,
};
