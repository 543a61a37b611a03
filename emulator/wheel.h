// A filter wheel at a camera: what a test sees is where it stands, in steps of its motor.
//
// A turn has 888 8/9 steps when the camera switches the motor's windings, 200 steps
// otherwise. Positions are evenly spaced, the first at step 0. The zero mark begins at step
// 0 and goes upward; the second sensor sees each position.
//
// The windings pull the motor by a step at most: a pattern two steps away moves nothing,
// and one step on from there it is nearer from the other side.
//
// A controller goes the short way, hears nothing as long as it is busy, and keeps all
// commands that it heard:
//
//   nibbles   1 to 6 go to a position, 7 goes to zero; the others only set it up.
//   bytes     0 goes to zero, 0x20 to 0x3F to position 1 to 32; the others only set it up.
//             One that goes to a position which it does not have stays.
#pragma once
#include <cstdint>
#include <vector>

enum EmuWheelKind : uint8_t {
    EmuNoWheel,
    EmuPhaseWheel,  // windings (40, 41, 42)
    EmuStepWheel,   // lines for step and direction (44, 47)
    EmuNibbleWheel, // a controller with commands of four bits
    EmuByteWheel,   // a controller with commands of a byte
    EmuOwnWheel,    // driven by the camera's firmware (48, 300, 450)
};

struct EmuWheelSetup {
    EmuWheelKind kind = EmuNoWheel;
    uint8_t positions = 0;      // 0: eight, with nibbles six
    int32_t start = 0;          // where it stands
    uint16_t markWidth = 1;     // steps
    uint16_t markReads = 1;     // its sensor is lit in the last of so many readings (44, 47)
    uint16_t positionWidth = 1; // steps to either side
    uint32_t moveMs = 50;       // of a controller from a position to the next
};

struct EmuWheel {
    EmuWheelSetup setup;
    int64_t steps;   // above the zero mark's lower edge; a turn further is the same place
    uint32_t lost;   // steps that the motor did not follow
    bool noMark;     // there is no zero mark any more
    bool dead;       // the controller has no power
    bool stuck;      // the controller is busy for good
    uint16_t answer; // of the firmware: 0, all is well
    std::vector<uint8_t> commands; // that the controller took
    uint32_t unheard;              // those that it did not

    uint64_t busyUntil;
    uint32_t readings; // of the zero sensor, since register 30 was written
    bool asked;        // its controller stands on the port (28)
};

// --- for the cameras ---

EmuWheel EmuMakeWheel(const EmuWheelSetup& setup);

// Four lines, two windings: bits 3 and 1 let current through, 2 and 0 turn it round.
void EmuWheelWindings(EmuWheel* wheel, uint32_t lines, bool power);
void EmuWheelStep(EmuWheel* wheel, bool up);
bool EmuWheelZero(EmuWheel* wheel); // a reading of the zero sensor
bool EmuWheelAtPosition(const EmuWheel& wheel);

void EmuWheelNibble(EmuWheel* wheel, uint32_t before, uint32_t now); // the lines change
void EmuWheelByte(EmuWheel* wheel, uint8_t byte);
void EmuWheelGo(EmuWheel* wheel, uint32_t position); // from 1
void EmuWheelHome(EmuWheel* wheel);
bool EmuWheelBusy(const EmuWheel& wheel);
bool EmuWheelReady(const EmuWheel& wheel); // alive and not busy
