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
inline constexpr uint8_t MemoryStrobe = 33;               // register

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

// For a pattern's stream: the pairs that store a cell, which may be of two bytes.
void EncodeMemoryByte(uint32_t address, uint16_t value, uint8_t* pairs); // 6 bytes
void EncodeMemoryWord(uint32_t address, uint16_t value, uint8_t* pairs); // 8 bytes

// Steps of a WaveSink, around a pattern that goes out in one transfer.
void OpenByteMemory(uint32_t words, int32_t camera);
void CloseByteMemory(int32_t camera);

// A cell of a byte, and cells of two; with `strobe` a write of register 33 stores it.
void PokeByte(uint32_t address, uint32_t value, int32_t camera);
uint32_t PeekByte(uint32_t address, int32_t camera);
void PokeByteWord(uint32_t address, uint32_t value, bool strobe, int32_t camera);
uint32_t PeekByteWord(uint32_t address, int32_t camera);

// --- analog ---

// 12 bits.
uint16_t ConvertByteTemperature(int32_t camera);

// The readings of all cameras of a driver.
struct ByteReadings {
    ReadingRing ring;
    uint32_t lastGood; // the last one that was not taken for noise
};
// Slot 11 of OSPREY and OSPREY_Plus.
int32_t ReadGuardedTemperature(ByteReadings* readings, int32_t camera);
void SetByteFan(double percent, int32_t camera);

// Slots 1, 13, 16 and 30.
extern const CameraOps ByteCameraOps;
