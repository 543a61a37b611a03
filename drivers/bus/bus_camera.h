// What the bus cameras share: BRIAR-PCI's operations, and the pieces they are made
// of. A family's source says what it does otherwise.
#pragma once
#include <cstdint>

#include "core/ops.h"
#include "links/cable.h"

// Sections in the order of the pattern's header.
enum BusSequence : int32_t { IdleSection, RowSection, PixelSection, LineSection };

// --- registers ---

// The shadow or'ed with `bits`, then the shadow: the shadow itself stays.
void PulseRegister(int32_t reg, uint16_t bits, int32_t camera);
// Stores `value` in the shadow and writes it.
void StoreRegister(int32_t reg, uint16_t value, int32_t camera);
// Or's `bits` into the shadow and writes it.
void SetRegisterBits(int32_t reg, uint16_t bits, int32_t camera);
void ClearRegisterBits(int32_t reg, uint16_t bits, int32_t camera);

// --- sequencer ---

// Plays a section of the loaded pattern `repeat` times; 0 leaves the camera alone.
// `wait` starts it and sleeps as long as it plays, otherwise a later write of
// register 0 starts it.
void RunSequence(BusSequence sequence, uint32_t repeat, int32_t wait, int32_t camera);

// Lines of the frame that are read besides the image, for the binning in force.
int32_t DummyLines(const struct CameraRecord& record);

// --- opening ---

struct RegisterStep {
    uint8_t reg;
    uint16_t value;
};

// What the open of one platform does otherwise than the others.
struct BusSetup {
    Cable cable;
    // Everything between address and version: dividers, clocks, front end.
    void (*program)(int32_t camera);
    bool versionMustMatch; // false: a card camera of another version opens all the same
    uint16_t coolerBits;   // of register 12, kept by attach
    // Reads span and offset from camera memory, and whatever else stands there.
    void (*calibrate)(int32_t camera);
};

// Opens the link of InterfaceType, resets or attaches the camera, programs it,
// compares versions, calibrates.
int32_t OpenBusCamera(const BusSetup& setup, int32_t address, int32_t attach, int32_t camera);

// Its steps, for cameras with an order of their own. OpenCardLink: the card, the
// cable, option 0x2000 by revision, and the DMA buffer.
int32_t OpenCardLink(const Cable& cable, int32_t camera);
void SelectCamera(int32_t attach, uint16_t coolerBits,
                  int32_t camera);        // registers 31 or only the address
uint16_t BusPixelDivider(int32_t camera); // register 3
void CalibrateFromMemory(int32_t camera); // words 0 and 1

// --- reading ---

extern const CameraOps DmaFrameOps;   // slots 12, 15: whole frame by DMA
extern const CameraOps DmaLineOps;    // slots 12, 15: a line at a time by DMA
extern const CameraOps PixelReadOps;  // slots 12, 15: a pixel at a time
extern const CameraOps PixelTimedOps; // slot 31: frame, a pixel at a time

// --- analog ---

// A word of the serial front end on register 11: 3-bit address, 12-bit value.
void FrontEndWrite(uint32_t address, uint32_t value, int32_t camera);
// The user's values (index 4) or one of the table: front-end words 2, 5 and 0.
int32_t SetFrontEndGain(uint16_t highRange, uint16_t lowRange, int32_t camera);
// A frequency of the BRIAR-R3 clock synthesiser.
void ProgramClockSynthesiser(double periods, int32_t camera);

// --- temperature ---

// 64 conversions by pulses of register 0, kept to `mask` after XOR with `flip`:
// their mean.
uint32_t ConvertTemperature(uint16_t mask, uint16_t flip, int32_t camera);
// Stores (celsius + offset) * span of the sub-camera.
void StoreTemperature(double celsius, int32_t camera);
void SetBusCoolerPower(int32_t permille, int32_t camera); // slot 1
