// What the sources of the bus camera share.
#pragma once
#include <cstdint>

#include "emulator/bus_camera.h"
#include "emulator/eeprom.h"
#include "emulator/objective.h"
#include "emulator/sequencer.h"
#include "emulator/shift_lines.h"
#include "emulator/tarn5.h"
#include "emulator/thermal.h"
#include "emulator/wheel.h"

struct EmuBusState;

// How cameras of one kind take the cycles of the bus.
struct EmuBusDialect {
    void (*address)(EmuBusState* camera, uint16_t address);
    void (*data)(EmuBusState* camera, uint16_t word);
    uint16_t (*read)(EmuBusState* camera);
    void (*stream)(EmuBusState* camera);  // the link begins to take pixels
    void (*trigger)(EmuBusState* camera); // the trigger line goes up
};

// A section as the sequencer plays it: word by word, pass by pass.
struct EmuBusPlay {
    bool waits;       // started, and not a word of it played
    bool temperature; // converts the temperature sensor
    uint16_t page, end;
    uint32_t repeat;
    uint32_t pass, left; // passes done; words left of the present one
    uint32_t sentInPass;
};

struct EmuBusStreamState {
    bool on;
    bool (*make)(EmuBusState* camera, uint16_t* pixel); // the next word; false: no more
    uint64_t begin;                                     // nanoseconds
    uint32_t behind;                                    // words ahead of the first pixel
    uint64_t ticks, firstTick;                          // words of the pattern played so far
    bool ready;                                         // `next` stands at the output, or will
    uint16_t next;
    uint32_t taken;
};

// What 47 has for exposures that a start pulse times, in microseconds.
struct EmuArmedTimes {
    bool loads;      // the next time written is kept and starts nothing
    uint64_t delay;  // of the shutter, ahead of the first pixel
    uint64_t length; // of the exposure
};

struct EmuBusState {
    EmuBusCamera setup;
    const EmuBusDialect* dialect;
    bool powered, selected;

    // the wire
    uint16_t address, prefix;
    bool bare;          // no data or read cycle since the last address cycle
    uint16_t lastBare;  // the last address that had neither
    bool repeatFollows; // the next address cycle is the repeat count

    // sequencer, sensor, stream
    uint16_t registers[256];
    EmuPatternMemory pattern;
    uint16_t repeat, end;
    EmuSensor sensor;
    EmuBusPlay play;
    EmuBusStreamState stream;
    uint32_t mute;
    bool linkTakes;      // the link takes whatever comes (28, 47)
    uint64_t pixelsFrom; // of an armed exposure (47)
    bool armed;          // the trigger starts exposure and section (47)

    // exposure
    bool exposed; // light fell since the last frame of a camera without a pattern
    uint64_t exposureEnds;
    uint32_t exposures;
    bool held;         // the shutter is held open by hand
    uint64_t litSince; // as long as it is
    EmuArmedTimes timers;
    bool trigger;
    uint32_t row, column; // next pixel of a camera without a pattern

    // analog
    EmuEeprom eeprom;
    EmuThermal thermal;
    EmuShiftWord drive, gain;
    uint32_t driveCode;
    bool coolerOn;
    uint32_t gainWords[16];
    EmuClockTrain clockTrain;
    bool toTemperature, converting, converted; // the converter's input, burst, word
    uint16_t conversion;

    EmuWheel wheel;
    EmuObjective objective;

    // coprocessor (28)
    EmuLetter letter;
    uint16_t fan;
};

extern const EmuBusDialect EmuPatternBus; // 22 to 25, 30, 40 to 60, 80
extern const EmuBusDialect EmuUnodBus;    // 70, 71
extern const EmuBusDialect EmuTarn5Bus;   // 28

void EmuBusReset(EmuBusState* camera); // what power-up and a write of register 31 do

// bus_play.cpp
void EmuStartSection(EmuBusState* camera, uint16_t page);
void EmuFinishSection(EmuBusState* camera); // plays what has been started and not streamed
void EmuStopSection(EmuBusState* camera);
void EmuStreamSection(EmuBusState* camera, uint64_t notBefore); // microseconds
void EmuBeginStream(EmuBusState* camera, bool (*make)(EmuBusState*, uint16_t*), uint64_t notBefore);
bool EmuStreamWaits(EmuBusState* camera);
uint16_t EmuStreamTake(EmuBusState* camera);

// bus_exposure.cpp
void EmuLight(EmuBusState* camera); // a whole exposure
void EmuHoldShutter(EmuBusState* camera, bool open);
void EmuGatherLight(EmuBusState* camera);     // that came through a shutter held open until now
uint64_t EmuExposeArmed(EmuBusState* camera); // when the first pixel may come
void EmuExposureWritten(EmuBusState* camera, uint32_t reg);
bool EmuExposureRuns(const EmuBusState& camera);

// bus_temperature.cpp
uint16_t EmuConvertTemperature(const EmuBusState& camera);
void EmuDriveCooler(EmuBusState* camera, uint32_t code, bool on);

// bus_accessories.cpp
void EmuAccessoryLines(EmuBusState* camera, uint32_t reg, uint16_t before, uint16_t now);
// What a wheel puts into a status word, or into a register that is read.
uint16_t EmuWheelBits(EmuBusState* camera, bool isRegister, uint32_t number);

// bus_lines.cpp: what hangs on bits of a register
void EmuAnalogLines(EmuBusState* camera, uint16_t before, uint16_t now);  // register 11
void EmuControlLines(EmuBusState* camera, uint16_t before, uint16_t now); // register 12
void EmuDriveLines(EmuBusState* camera, uint16_t before, uint16_t now);   // the cooler's
