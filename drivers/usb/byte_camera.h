// What HERON_Plus, OSPREY and OSPREY_Plus share: cameras with registers of a byte, reached
// through slots 17 and 18 and the driver's WriteRegisters.
#pragma once
#include <cstdint>

#include "core/ops.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/reading_ring.h"
#include "drivers/register_batch.h"

// --- opening ---

inline constexpr uint16_t HighRange = 216, LowRange = 88; // front-end word 0

// Behind the comparison of versions: fan and cooler, pixel time, pixel divider.
void StartByteCamera(int32_t attach, int32_t camera);
void ProgramByteFrontEnd(uint16_t range, int32_t camera);
// Register 6 as the shadow has it, then an exposure of 10 ms with 10 ms to settle.
void StartByteShutter(int32_t camera);
// At most twice, a device whose status 15 is not as expected is reset.
void ResetUntilReady(int32_t camera);
bool IsByteVersion(int32_t versionStatus, int32_t camera);

// --- sequencer ---

// Which registers take the two counts, and what they need to do so.
struct SequenceLoad {
    uint16_t repeatRegister, endRegister;
    uint32_t pauseMs;
};
// Plays a section `repeat` times; 0 leaves the camera alone. `wait` 0 arms it: it starts, and
// streams, as the exposure ends. 1 plays it and sleeps as long, 2 starts it at once as a
// stream.
void RunByteSequence(const SequenceLoad& load, BusSequence sequence, uint32_t repeat, int32_t wait,
                     int32_t camera);
void EndByteStream(int32_t camera);
void ByteCommand(int32_t command, int32_t camera);

// --- pattern and word memory ---

// Registers that a cell of memory goes through.
enum ByteMemoryRegister : uint8_t {
    MemoryLow = 12, // of the address; or of a count of the sequencer
    MemoryHigh = 13,
    MemoryValue = 19,
    MemoryValueHigh = 20,
    MemoryStrobe = 33,
};

// Steps of a WaveSink, around a pattern that goes out in one transfer.
void OpenByteMemory(uint32_t words, int32_t camera);
void CloseByteMemory(int32_t camera);

// Words of two bytes; with `strobe` a write of register 33 stores them.
void PokeByteWord(uint32_t address, uint32_t value, bool strobe, int32_t camera);
uint32_t PeekByteWord(uint32_t address, int32_t camera);
// The pairs that select a cell.
enum ByteMemoryMode : uint16_t { WriteMemory = 7, ReadMemory = 13 };
void AddMemoryAddress(RegisterBatch* batch, ByteMemoryMode mode, uint32_t address);

// --- analog ---

// The readings of all cameras of a driver.
struct ByteReadings {
    ReadingRing ring;
    uint32_t lastGood;
};
// 12 bits.
uint16_t ConvertByteTemperature(int32_t camera);
void SetByteFan(double percent, int32_t camera);

// Slots 1, 13, 16 and 30.
extern const CameraOps ByteCameraOps;
