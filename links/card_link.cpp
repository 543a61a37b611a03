#include "links/card_link.h"

#include "core/record.h"
#include "links/bus_map.h"
#include "links/card.h"
#include "links/card_bits.h"
#include "links/delay.h"

namespace {

constexpr uint32_t CycleDelay = 10; // microseconds
constexpr int32_t CyclePolls = 100000;
constexpr int32_t SerialReplyRounds = 101;
constexpr int32_t ReadyRounds = 100000;

// How a platform fetches the word behind an address.
struct FetchForm {
    void (*awaitReply)(int32_t camera); // serial cable
    int32_t moreWrites;                 // of the control word, parallel cable
};

constexpr FetchForm PlainFetch = {WaitSerialReply, 0};
constexpr FetchForm PatientFetch = {AwaitSerialReply, 3};
constexpr FetchForm StatusFetch = {AwaitSerialReply, 0};

uint32_t CardWriteAddress(uint32_t address, int32_t camera)
{
    const uint32_t c = (ReadCard(CardControlReg, camera) & ~CardReadCycle) | CardAddressCycle;
    WriteCard(CardDataReg, address & 0xFFFF, camera);
    WriteCard(CardControlReg, c, camera);
    WaitCycle(camera);
    return c;
}

// The word goes out as whatever cycle the control register holds: required.
void CardWriteData(uint32_t value, int32_t camera)
{
    const uint32_t c = ReadCard(CardControlReg, camera);
    WriteCard(CardDataReg, value & 0xFFFF, camera);
    WriteCard(CardDataReg, value & 0xFFFF, camera);
    WriteCard(CardControlReg, c, camera);
    WaitCycle(camera);
}

void CardWriteRegister(int32_t reg, int32_t value, int32_t camera)
{
    const uint32_t c = CardWriteAddress(BusRegisters + static_cast<uint32_t>(reg), camera);
    SendCardWord(c, static_cast<uint32_t>(value), camera);
}

uint32_t ReadCycle(uint32_t c)
{
    return (c & ~CardAddressCycle) | CardReadCycle;
}

// `c` is what WriteAddress returned for the word that is wanted.
uint32_t Fetch(const FetchForm& form, uint32_t c, int32_t camera)
{
    const uint32_t read = ReadCycle(c);
    WriteCard(CardControlReg, read, camera);
    if (CameraTable[camera].SerialLink != 0) {
        form.awaitReply(camera);
        WriteCard(CardControlReg, read, camera);
        form.awaitReply(camera);
    } else {
        for (int32_t i = 0; i < form.moreWrites; ++i) WriteCard(CardControlReg, read, camera);
    }
    return ReadCard(CardDataReg, camera);
}

uint16_t FetchRegister(const FetchForm& form, int32_t reg, int32_t camera)
{
    CardWriteAddress(BusRegisterPrefix, camera);
    const uint32_t c = CardWriteAddress(BusRegisters + static_cast<uint32_t>(reg), camera);
    return static_cast<uint16_t>(Fetch(form, c, camera));
}

uint32_t FetchStatus(const FetchForm& form, int32_t selector, int32_t camera)
{
    const uint32_t c = CardWriteAddress(BusStatus + static_cast<uint32_t>(selector), camera);
    return Fetch(form, c, camera);
}

uint16_t CardReadRegister(int32_t reg, int32_t camera)
{
    return FetchRegister(PlainFetch, reg, camera);
}

uint32_t CardReadStatus(int32_t selector, int32_t camera)
{
    return FetchStatus(PlainFetch, selector, camera);
}

uint16_t PatientReadRegister(int32_t reg, int32_t camera)
{
    return FetchRegister(PatientFetch, reg, camera);
}

uint32_t PatientReadStatus(int32_t selector, int32_t camera)
{
    return FetchStatus(PatientFetch, selector, camera);
}

uint16_t ReadStatusAsRegister(int32_t reg, int32_t camera)
{
    return static_cast<uint16_t>(FetchStatus(StatusFetch, reg, camera));
}

// A serial link sends the word without a read cycle.
uint32_t CardPeek(uint32_t address, int32_t camera)
{
    const uint32_t c = BeginBusPeek(address, camera);
    if (CameraTable[camera].SerialLink != 0) {
        WaitSerialReply(camera);
    } else {
        WriteCard(CardControlReg, ReadCycle(c), camera);
    }
    return ReadCard(CardDataReg, camera) & 0xFFFF;
}

uint32_t PatientPeekWord(uint32_t address, int32_t camera)
{
    return Fetch(PatientFetch, BeginBusPeek(address, camera), camera) & 0xFFFF;
}

uint32_t PatientPeek(uint32_t address, int32_t camera)
{
    return PatientPeekWord(address, camera) & 0xFF;
}

uint16_t CardReadData(int32_t camera)
{
    const uint32_t c = ReadCard(CardControlReg, camera);
    if (CameraTable[camera].SerialLink != 0) {
        WaitSerialReply(camera);
        WriteCard(CardControlReg, c, camera);
        WaitSerialReply(camera);
    }
    return static_cast<uint16_t>(ReadCard(CardDataReg, camera));
}

int32_t CardWaitReady(int32_t camera)
{
    for (int32_t round = 0; round < ReadyRounds; ++round) {
        DelayMicroseconds(CycleDelay, camera);
        if ((ReadCard(CardControlReg, camera) & CardCameraBusy) == 0) return 0;
    }
    return 1;
}

// Leaves the card in pixel read mode with an empty FIFO.
void CardResetLink(int32_t camera)
{
    const uint32_t c = ReadCard(CardControlReg, camera) & ~CardAddressCycle;
    WriteCard(CardControlReg, c | CardFifoReset | CardPixelRead | CardReadCycle, camera);
    DelayMicroseconds(CycleDelay, camera);
    WriteCard(CardControlReg, c | CardPixelRead | CardStream | CardReadCycle, camera);
}

} // namespace

bool WaitCycle(int32_t camera)
{
    DelayMicroseconds(CycleDelay, camera);
    return CameraTable[camera].SerialLink != 0 || PollCycle(camera);
}

bool PollCycle(int32_t camera)
{
    for (int32_t poll = 0; poll < CyclePolls; ++poll) {
        if ((ReadCard(CardControlReg, camera) & CardCycleDone) != 0) return true;
    }
    return false;
}

void WaitSerialReply(int32_t camera)
{
    for (int32_t round = 0; round < SerialReplyRounds; ++round) {
        DelayMicroseconds(CycleDelay, camera);
        if ((ReadCard(CardControlReg, camera) & CardReplyPresent) != 0) return;
    }
}

void AwaitSerialReply(int32_t camera)
{
    do {
        DelayMicroseconds(CycleDelay, camera);
    } while ((ReadCard(CardControlReg, camera) & CardReplyPresent) == 0);
}

void SendCardWord(uint32_t c, uint32_t word, int32_t camera)
{
    WriteCard(CardDataReg, word & 0xFFFF, camera);
    WriteCard(CardDataReg, word & 0xFFFF, camera);
    WriteCard(CardControlReg, c & ~CardAddressCycle, camera);
    WaitCycle(camera);
}

const CameraOps CardLinkOps = {
    .Poke = BusPoke,
    .Peek = CardPeek,
    .PokeW = BusPoke,
    .PeekW = CardPeek,
    .ReadRegister = CardReadRegister,
    .WriteRegister = CardWriteRegister,
    .WaitReady = CardWaitReady,
    .WriteData = CardWriteData,
    .WriteAddress = CardWriteAddress,
    .ResetLink = CardResetLink,
    .ReadData = CardReadData,
    .ReadStatus = CardReadStatus,
};

const CameraOps PatientReadOps = {
    .Peek = PatientPeek,
    .PeekW = PatientPeekWord,
    .ReadRegister = PatientReadRegister,
    .ReadStatus = PatientReadStatus,
};

const CameraOps StatusReadOps = {
    .ReadRegister = ReadStatusAsRegister,
};
