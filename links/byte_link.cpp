#include "links/byte_link.h"

#include "core/record.h"
#include "links/bus_map.h"
#include "links/card.h"
#include "links/card_bits.h"
#include "links/card_link.h"

namespace {

enum ByteLane : uint32_t { LowLane, HighLane };

constexpr uint32_t NoByteYet = 0x100; // of CardDataReg
constexpr int32_t ReadyPolls = 2000000;
constexpr int32_t LaneSettles = 4; // writes until a byte of the other lane stands

void SelectLane(ByteLane lane, int32_t writes, int32_t camera)
{
    for (int32_t i = 0; i < writes; ++i) WriteCard(CardChannelReg, lane, camera);
}

// One byte of a cycle; `writes` is how often it goes to the data register.
void SendByte(ByteLane lane, uint32_t operand, int32_t writes, uint32_t c, int32_t camera)
{
    SelectLane(lane, 1, camera);
    for (int32_t i = 0; i < writes; ++i) WriteCard(CardDataReg, operand, camera);
    WriteCard(CardControlReg, c, camera);
    WaitCycle(camera);
}

uint32_t ByteWriteAddress(uint32_t address, int32_t camera)
{
    const uint32_t c = (ReadCard(CardControlReg, camera) & ~CardReadCycle) | CardAddressCycle;
    SendByte(LowLane, address & 0xFFFF, 1, c, camera);
    SendByte(HighLane, (address & 0xFFFF) >> 8, 1, c, camera);
    return c;
}

void ByteWriteData(uint32_t value, int32_t camera)
{
    const uint32_t c = ReadCard(CardControlReg, camera) & ~(CardReadCycle | CardAddressCycle);
    SendByte(LowLane, value & 0xFFFF, 2, c, camera);
    SendByte(HighLane, (value & 0xFFFF) >> 8, 2, c, camera);
}

void ByteWriteRegister(int32_t reg, int32_t value, int32_t camera)
{
    ByteWriteAddress(BusRegisters + static_cast<uint32_t>(reg), camera);
    ByteWriteData(static_cast<uint32_t>(value), camera);
}

void StartRead(uint32_t c, int32_t camera)
{
    WriteCard(CardControlReg, (c & ~CardAddressCycle) | CardReadCycle, camera);
}

// Registers and memory send the low byte first.
uint16_t ReadLowFirst(int32_t camera)
{
    SelectLane(LowLane, LaneSettles, camera);
    const uint32_t low = ReadCard(CardDataReg, camera) & 0xFF;
    SelectLane(HighLane, LaneSettles, camera);
    const uint32_t high = ReadCard(CardDataReg, camera) & 0xFF;
    return static_cast<uint16_t>(high << 8 | low);
}

// Status words and pixels send the high byte first, from a lane that is already
// selected, and leave that lane selected.
uint16_t ReadHighFirst(int32_t camera)
{
    const uint32_t high = ReadCard(CardDataReg, camera) << 8;
    SelectLane(LowLane, LaneSettles, camera);
    const uint32_t low = ReadCard(CardDataReg, camera) & 0xFF;
    SelectLane(HighLane, 1, camera);
    return static_cast<uint16_t>(high | low);
}

uint16_t ByteReadRegister(int32_t reg, int32_t camera)
{
    ByteWriteAddress(BusRegisterPrefix, camera);
    StartRead(ByteWriteAddress(BusRegisters + static_cast<uint32_t>(reg), camera), camera);
    return ReadLowFirst(camera);
}

uint32_t ByteReadStatus(int32_t selector, int32_t camera)
{
    StartRead(ByteWriteAddress(BusStatus + static_cast<uint32_t>(selector), camera), camera);
    SelectLane(HighLane, 1, camera);
    return ReadHighFirst(camera);
}

uint32_t BytePeek(uint32_t address, int32_t camera)
{
    StartRead(BeginBusPeek(address, camera), camera);
    return ReadLowFirst(camera);
}

int32_t ByteWaitReady(int32_t camera)
{
    for (int32_t poll = 0; poll < ReadyPolls; ++poll) {
        if ((ReadCard(CardDataReg, camera) & NoByteYet) == 0) return 0;
    }
    return 1;
}

} // namespace

void ByteResetLink(int32_t camera)
{
    const uint32_t c = (ReadCard(CardControlReg, camera) & ~CardAddressCycle) | CardReadCycle;
    const int32_t writes = CameraTable[camera].SerialLink != 0 ? 1 : 4;
    for (int32_t i = 0; i < writes; ++i) WriteCard(CardControlReg, c, camera);
}

const CameraOps ByteLinkOps = {
    .Poke = BusPoke,
    .Peek = BytePeek,
    .PokeW = BusPoke,
    .PeekW = BytePeek,
    .ReadRegister = ByteReadRegister,
    .WriteRegister = ByteWriteRegister,
    .WaitReady = ByteWaitReady,
    .WriteData = ByteWriteData,
    .WriteAddress = ByteWriteAddress,
    .ResetLink = ByteResetLink,
    .ReadData = ReadHighFirst,
    .ReadStatus = ByteReadStatus,
};
