// A camera at the far end of a bus link: a 16-bit address space of pattern memory,
// registers and status words, a sequencer that plays the loaded pattern on a CCD,
// and a stream of pixels. The links in front of it (the PCI card, the printer port,
// the port card) decode their own wires and call these cycles.
//
// The camera hears nothing but its reset and its selection until its bus address has
// been on the wire once; 28 has no address and always listens.
//
// A section that the run bit starts is clocked to its end at once, unless the link
// begins to take pixels before anything else happens: then it yields its words at the
// pace of the pattern. The first of them stands ready as the link begins.
//
// Light falls on the sensor at the moment an exposure counter is started with a time
// that is not zero and nothing holds the shutter shut: all rows are then full, until
// they are clocked out. Time and brightness have nothing to do with one another.
//
// Through a shutter that is held open by hand (25, 44, 47) light falls as time goes on,
// the whole scene once a second, on the rows as they stand; a counter started meanwhile
// adds none. Rows that a section moves take their charge along. While a frame streams
// its rows see no light until it has left.
#pragma once
#include <cstdint>

#include "emulator/line_maps.h"
#include "emulator/objective.h"
#include "emulator/sensor.h"
#include "emulator/wheel.h"

// What stands in the camera. Whatever is 0 takes the value given here.
struct EmuBusCamera {
    int32_t platform; // decides the register map's dialect: 28, 70 and 71 have their own
    int32_t sensor;
    uint16_t version;    // of status 15, of register 22 on 70 and 71, of register 31 on 28
    EmuChip chip;        // with the scene; none: a black one
    EmuLineMap lines;    // by EmuFindLineMap for the builder of platform and sensor
    uint32_t wordNs;     // time of a pattern word, of a pixel where there is none; 1000
    double ambient;      // degrees Celsius; 20
    uint16_t memory[64]; // the camera memory, 93C46
    bool byteCable;      // words come as two bytes (HERON)
    uint8_t unit;        // its place in an array: it answers to bus address 0xFFF0 + unit
    uint8_t bits;        // of the converter, on 22, 23 and 24; 16
    uint8_t lag;         // words by which the converter is behind: a frame begins with so many 0
    EmuWheelSetup wheel; // none
    bool objective;      // there is one, on 44 and 47
};

// Adds a camera; 0 to 15, or -1 when there are sixteen.
int32_t EmuPlugBusCamera(const EmuBusCamera& setup);

// --- what a link does with it ---

void EmuBusAddress(int32_t camera, uint16_t address); // address cycle
void EmuBusData(int32_t camera, uint16_t word);       // data cycle
uint16_t EmuBusRead(int32_t camera);                  // read cycle under the last address
void EmuBusStream(int32_t camera);                    // the link begins to take pixels
bool EmuBusPixelWaits(int32_t camera);                // by the virtual clock
uint16_t EmuBusTakePixel(int32_t camera);             // 0xFFFF when none waits
bool EmuBusListens(int32_t camera);                   // selected by its bus address, and powered
bool EmuBusByteCable(int32_t camera);

// --- what a test does with it ---

uint16_t EmuBusRegister(int32_t camera, int32_t reg);
uint16_t EmuBusMemoryWord(int32_t camera, int32_t word); // of the camera memory
void EmuBusPattern(int32_t camera, uint32_t address, uint32_t count, uint16_t* words);
void EmuBusSetMemoryWord(int32_t camera, int32_t word, uint16_t value);
void EmuBusSetUnit(int32_t camera, uint8_t unit);
void EmuBusTrigger(int32_t camera, bool seen);        // the external trigger line
void EmuBusPower(int32_t camera, bool on);            // a camera without power answers nothing
void EmuBusMute(int32_t camera, uint32_t afterPixel); // the stream stalls there; 0xFFFFFFFF: never
double EmuBusTemperature(int32_t camera);             // of the sensor now
void EmuBusSetTemperature(int32_t camera, double celsius); // from here it drifts on
int32_t EmuBusCoolerPower(int32_t camera);                 // drive of 0 to 4095; on 28 of 0 to 255
uint16_t EmuBusFan(int32_t camera);                        // on 28
bool EmuBusCoolerOn(int32_t camera);
uint32_t EmuBusExposures(int32_t camera); // how often light fell on the sensor

// Last value of a word of the analog front end; 8 and up: those of its second unit.
// On 40, 41 and 42 word 0 has the seven bits of the gain.
uint32_t EmuBusGainWord(int32_t camera, int32_t word);
uint32_t EmuBusClockWord(int32_t camera); // of the clock synthesiser, on 44 and 47

// To see and to touch between calls of the library; null: no such camera.
EmuWheel* EmuBusWheel(int32_t camera);
EmuObjective* EmuBusObjective(int32_t camera);
