#include "links/pair_link.h"

#include "core/errors.h"
#include "core/record.h"
#include "links/usb_link.h"
#include "platform/system.h"

namespace {

enum PairRegister : int32_t {
    CoprocessorLow = 6,
    CoprocessorHigh = 7,
    ControlRegister = 8,
    MailboxOut = 18,    // 16 bits
    MailboxStatus = 36, // bit 0: busy
    MailboxIn = 37,     // 16 bits
    ReadCount = 0x84,   // 32 bits
};

enum ControlBit : uint32_t { WordStrobe = 4, WordEnable = 8 };
constexpr uint8_t MailboxBusy = 1;
constexpr uint32_t MailboxMs = 10;
constexpr uint32_t MailboxRounds = 1000; // of a millisecond
constexpr uint32_t FirstByteMs = 500;

void AddPairs(int32_t reg, uint32_t value, int32_t bytes, PairBatch* batch)
{
    for (int32_t i = 0; i < bytes; ++i) AddPair(reg + i, value >> (8 * i), batch);
}

void SendPairsOf(int32_t reg, uint32_t value, int32_t bytes, int32_t camera)
{
    PairBatch batch;
    batch.count = 0;
    AddPairs(reg, value, bytes, &batch);
    SendPairs(batch, camera);
}

bool Ask(int32_t reg, void* buffer, uint32_t bytes, int32_t camera)
{
    PairBatch batch;
    batch.count = 0;
    AddPairRequest(reg, bytes, &batch);
    SendPairs(batch, camera);
    return ReadWithin500ms(buffer, bytes, camera);
}

void AwaitMailbox(int32_t camera)
{
    System.clock.Sleep(MailboxMs);
    for (uint32_t round = 0; round < MailboxRounds; ++round) {
        if ((ReadPair(MailboxStatus, camera) & MailboxBusy) == 0) return;
        System.clock.Sleep(1);
    }
}

uint16_t ReadPairRegister(int32_t reg, int32_t camera)
{
    return ReadPair(reg, camera);
}

void WritePairRegister(int32_t reg, int32_t value, int32_t camera)
{
    WritePair(reg, static_cast<uint32_t>(value), camera);
}

} // namespace

const CameraOps PairLinkOps = {
    .ReadRegister = ReadPairRegister,
    .WriteRegister = WritePairRegister,
};

void AddPair(int32_t reg, uint32_t value, PairBatch* batch)
{
    if (batch->count + 2 > sizeof batch->bytes) return;
    batch->bytes[batch->count++] = static_cast<uint8_t>(reg & 0xFF);
    batch->bytes[batch->count++] = static_cast<uint8_t>(value & 0xFF);
}

void AddPairRequest(int32_t reg, uint32_t count, PairBatch* batch)
{
    AddPairs(ReadCount, count, 4, batch);
    if (batch->count < sizeof batch->bytes) {
        batch->bytes[batch->count++] = static_cast<uint8_t>(reg & 0xFF);
    }
}

void SendPairs(const PairBatch& batch, int32_t camera)
{
    UsbSend(batch.bytes, batch.count, camera);
}

void WritePair(int32_t reg, uint32_t value, int32_t camera)
{
    SendPairsOf(reg, value, 1, camera);
}

void WritePair16(int32_t reg, uint32_t value, int32_t camera)
{
    SendPairsOf(reg, value, 2, camera);
}

void WritePair32(int32_t reg, uint32_t value, int32_t camera)
{
    SendPairsOf(reg, value, 4, camera);
}

bool ReadWithin500ms(void* buffer, uint32_t bytes, int32_t camera)
{
    const uint32_t start = System.clock.TickCount();
    while (UsbWaiting(camera) == 0 && System.clock.TickCount() - start < FirstByteMs) {
        System.clock.Relax();
    }
    return UsbReceive(buffer, bytes, camera) == bytes;
}

uint8_t ReadPair(int32_t reg, int32_t camera)
{
    uint8_t value = 0;
    ReadPair8(reg, &value, camera);
    return value;
}

bool ReadPair8(int32_t reg, uint8_t* value, int32_t camera)
{
    uint8_t byte = 0;
    const bool came = Ask(reg, &byte, sizeof byte, camera);
    *value = came ? byte : uint8_t{0};
    return came;
}

bool ReadPair16(int32_t reg, uint16_t* value, int32_t camera)
{
    uint8_t bytes[2] = {};
    const bool came = Ask(reg | PairAutoIncrement, bytes, sizeof bytes, camera);
    *value = came ? static_cast<uint16_t>(bytes[0] | bytes[1] << 8) : uint16_t{0};
    return came;
}

int32_t ReceivePairImage(void* buffer, uint32_t bytes, int32_t camera)
{
    if (UsbReceive(buffer, bytes, camera) == bytes) return ErrorNone;
    System.usb.ResetPort(CameraTable[camera].UsbHandle);
    return ErrorLinkFailure;
}

uint16_t Mailbox(const uint16_t* words, uint32_t count, int32_t camera)
{
    DrainReceive(camera);
    for (uint32_t i = 0; i < count; ++i) {
        WritePair16(MailboxOut, words[i], camera);
        AwaitMailbox(camera);
    }
    uint16_t answer = 0;
    ReadPair16(MailboxIn, &answer, camera);
    return answer;
}

void PushWords(const uint16_t* words, uint32_t count, uint32_t expectBytes, int32_t reg,
               int32_t camera)
{
    const uint32_t shadow = CameraTable[camera].Registers[ControlRegister];
    PairBatch batch;
    batch.count = 0;
    AddPair(ControlRegister, shadow | WordEnable, &batch);
    for (uint32_t i = 0; i < count; ++i) {
        AddPair(CoprocessorLow, words[i], &batch);
        AddPair(CoprocessorHigh, words[i] >> 8u, &batch);
        AddPair(ControlRegister, shadow | WordEnable | WordStrobe, &batch);
        AddPair(ControlRegister, shadow | WordEnable, &batch);
    }
    AddPair(ControlRegister, shadow, &batch);
    AddPairRequest(reg, expectBytes, &batch);
    SendPairs(batch, camera);
}
