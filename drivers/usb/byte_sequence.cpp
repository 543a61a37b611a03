// Sequencer and memories of the cameras with registers of a byte.
#include "core/record.h"
#include "drivers/usb/byte_camera.h"
#include "drivers/usb/pattern_stream.h"
#include "platform/system.h"

namespace {

enum SequencerRegister : uint8_t {
    CommandRegister = 0,
    MemoryLow = 12, // of an address; or of a count of the sequencer
    MemoryHigh = 13,
    SectionPage = 14,
    SequencerMode = 16,
    MemoryValue = 19,
    MemoryValueHigh = 20,
};

enum SequencerModes : uint8_t {
    WriteMode = 7, // of memory
    NormalMode = 12,
    ReadMode = 13,
    HostMode = 140, // counters are loaded by the host
    StartedMode = 188,
    ArmedMode = 76, // starts and streams when the exposure ends
    StreamMode = 204,
};

enum MemoryStatus : int32_t { MemoryByte = 13, MemoryHighByte = 14 };

void AddCount(RegisterBatch* batch, uint32_t count, uint16_t loadRegister)
{
    AddPair(batch, MemoryLow, count & 0xFF);
    AddPair(batch, MemoryHigh, count >> 8 & 0xFF);
    AddPair(batch, loadRegister, 0);
}

void LoadSection(const SequenceLoad& load, uint16_t start, uint16_t end, uint32_t repeat,
                 int32_t camera)
{
    RegisterBatch repeats = {};
    AddPair(&repeats, SequencerMode, HostMode);
    AddPair(&repeats, SectionPage, start >> 8);
    AddCount(&repeats, repeat, load.repeatRegister);
    SendBatch(repeats, camera);
    System.clock.Sleep(load.pauseMs);
    RegisterBatch length = {};
    AddCount(&length, end, load.endRegister);
    SendBatch(length, camera);
    System.clock.Sleep(load.pauseMs);
}

void SetMode(SequencerModes mode, int32_t camera)
{
    CameraTable[camera].Ops.WriteRegister(SequencerMode, mode, camera);
}

// The pairs that select a cell of memory.
void AddCell(RegisterBatch* batch, SequencerModes mode, uint32_t address)
{
    AddPair(batch, SequencerMode, mode);
    AddPair(batch, MemoryLow, address & 0xFF);
    AddPair(batch, MemoryHigh, address >> 8 & 0xFF);
}

} // namespace

void RunByteSequence(const SequenceLoad& load, BusSequence sequence, uint32_t repeat, int32_t wait,
                     int32_t camera)
{
    if (repeat == 0) return;
    const uint16_t* entry = CameraTable[camera].SequenceTable + size_t{2} * sequence;
    LoadSection(load, entry[0], entry[1], repeat, camera);
    if (wait == 0) {
        SetMode(ArmedMode, camera);
        return;
    }
    RegisterBatch start = {};
    AddPair(&start, SequencerMode, StartedMode);
    AddPair(&start, SequencerMode, wait == 1 ? HostMode : StreamMode);
    SendBatch(start, camera);
    if (wait == 1) AwaitSection(sequence, repeat, camera);
}

void EndByteStream(int32_t camera)
{
    SetMode(NormalMode, camera);
}

void ByteCommand(int32_t command, int32_t camera)
{
    CameraTable[camera].Ops.WriteRegister(CommandRegister, command, camera);
}

void OpenByteMemory(uint32_t, int32_t camera)
{
    SetMode(WriteMode, camera);
}

void CloseByteMemory(int32_t camera)
{
    SetMode(NormalMode, camera);
    ReleaseStream(camera);
}

void EncodeMemoryByte(uint32_t address, uint16_t value, uint8_t* pairs)
{
    pairs[0] = MemoryLow;
    pairs[1] = static_cast<uint8_t>(address);
    pairs[2] = MemoryHigh;
    pairs[3] = static_cast<uint8_t>(address >> 8);
    pairs[4] = MemoryValue;
    pairs[5] = static_cast<uint8_t>(value);
}

void EncodeMemoryWord(uint32_t address, uint16_t value, uint8_t* pairs)
{
    EncodeMemoryByte(address, value, pairs);
    pairs[6] = MemoryValueHigh;
    pairs[7] = static_cast<uint8_t>(value >> 8);
}

void PokeByte(uint32_t address, uint32_t value, int32_t camera)
{
    RegisterBatch batch = {};
    AddCell(&batch, WriteMode, address);
    AddPair(&batch, MemoryValue, value & 0xFF);
    SendBatch(batch, camera);
}

uint32_t PeekByte(uint32_t address, int32_t camera)
{
    RegisterBatch batch = {};
    AddCell(&batch, ReadMode, address);
    SendBatch(batch, camera);
    return CameraTable[camera].Ops.ReadRegister(MemoryByte, camera);
}

void PokeByteWord(uint32_t address, uint32_t value, bool strobe, int32_t camera)
{
    RegisterBatch batch = {};
    AddCell(&batch, WriteMode, address);
    AddPair(&batch, MemoryValue, value & 0xFF);
    AddPair(&batch, MemoryValueHigh, value >> 8 & 0xFF);
    if (strobe) AddPair(&batch, MemoryStrobe, 0);
    AddPair(&batch, SequencerMode, NormalMode);
    SendBatch(batch, camera);
}

uint32_t PeekByteWord(uint32_t address, int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    RegisterBatch batch = {};
    AddCell(&batch, ReadMode, address);
    SendBatch(batch, camera);
    const uint32_t low = ops.ReadRegister(MemoryByte, camera) & 0xFFu;
    const uint32_t high = ops.ReadRegister(MemoryHighByte, camera) & 0xFFu;
    SetMode(NormalMode, camera);
    return high << 8 | low;
}
