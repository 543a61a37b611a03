// Tarn_V (platform 28): a coprocessor keeps its temperature, cooler, fan and memory;
// its sequencer is armed ahead of the exposure and starts by itself when that is over.
// What stands here reaches the camera through ReadRegister, WriteRegister and the driver's
// WriteRegisters, so it serves any link; a link's own source has these, open and reads.
#pragma once
#include <cstdint>

#include "core/binding.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/reading_ring.h"

extern const BindingRule Tarn5Rules[];
extern const DriverExtras Tarn5Extras;

// The number of a register to read, or a command, as register 0 takes them.
uint16_t Tarn5Select(int32_t reg, int32_t camera);
uint16_t Tarn5Command(int32_t command, int32_t camera);

// --- coprocessor ---

// Hands over the words of one order and waits until each is taken: without a limit,
// but for a card that is gone.
void OrderCoprocessor(const uint16_t* words, uint32_t count, int32_t camera);
uint16_t CoprocessorResult(int32_t camera);
uint16_t ReadTarn5Memory(int32_t address, int32_t camera);
void WriteTarn5Memory(int32_t address, uint16_t value, int32_t camera);

// --- opening: behind the link ---

inline constexpr int32_t Tarn5VersionRegister = 31;

// What a link's open programs by sensor.
struct Tarn5Start {
    uint16_t register6, register7;
    uint32_t settleMs;                            // behind the pixel divider; 0: no pause
    void (*identified)(int32_t camera) = nullptr; // behind the comparison of versions
};
// Compares versions, tests the coprocessor, switches the cooler and programs the
// camera. 0, 1 or 24.
int32_t StartTarn5(const Tarn5Start& start, int32_t attach, int32_t camera);

// --- pattern memory: steps of a WaveSink ---

enum Tarn5SequencerMode : uint16_t { WriteMode = 0x01C0, RunMode = 0x0300, ReadMode = 0x0340 };
// The shadow of register 11 with this mode in its field.
uint16_t Tarn5ModeWith(Tarn5SequencerMode mode, int32_t camera);
void OpenTarn5Memory(uint32_t words, int32_t camera);
void CloseTarn5Memory(int32_t camera);

// --- sequencer ---

// Plays a section `repeat` times; 0 leaves the camera alone. `wait` 0 arms it: it
// starts, and streams, as the exposure ends. 1 plays it and sleeps as long, 2 starts it
// at once as a stream.
void RunTarn5Sequence(BusSequence sequence, uint32_t repeat, int32_t wait, int32_t camera);
void EndTarn5Stream(int32_t camera);

// --- analog ---

// The readings of all Tarn_V of the process. Until the ring is full, what they are
// taken for is 0: required.
struct Tarn5Readings {
    ReadingRing ring;
    uint32_t used; // the last filtered one
};
extern Tarn5Readings Tarn5Temperatures;

double MeasureTarn5(int32_t camera); // degrees Celsius
void SetTarn5Fan(double percent, int32_t camera);

// Slots 1, 8, 10, 13, 16, 21, 23 and 30, and those that do nothing on either link.
extern const CameraOps Tarn5Ops;

// Behind the adaptor: its slots, and what it has besides them.
extern const CameraOps Tarn5UsbOps;
extern const DriverExtras Tarn5UsbExtras;

// The bus link's own, and its reads: a frame, or a line, by DMA.
extern const CameraOps Tarn5BusOps, Tarn5BusFrameOps, Tarn5BusLineOps;
