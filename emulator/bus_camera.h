// A camera at the far end of a bus link: a 16-bit address space of pattern memory,
// registers and status words, a sequencer that plays the loaded pattern on a CCD,
// and a stream of pixels. The links in front of it (the PCI card, the printer port,
// the port card) decode their own wires and call these cycles.
#pragma once
#include <cstdint>

#include "emulator/line_maps.h"
#include "emulator/sensor.h"

// What stands in the camera. Whatever is 0 takes the value given here.
struct EmuBusCamera {
    int32_t platform; // decides the register map's dialect: 28, 70 and 71 have their own
    int32_t sensor;
    uint16_t version;    // of status 15, of register 22 on 70 and 71, of register 31 on 28
    EmuChip chip;        // with the scene
    EmuLineMap lines;    // by EmuFindLineMap for the builder of platform and sensor
    uint32_t wordNs;     // time of a pattern word; 1000
    double ambient;      // degrees Celsius; 20
    uint16_t memory[64]; // the camera memory, 93C46
    bool byteCable;      // words come as two bytes (HERON)
};

// Adds a camera; 0 to 7, or -1 when there are eight.
int32_t EmuPlugBusCamera(const EmuBusCamera& setup);

// --- what a link does with it ---

void EmuBusAddress(int32_t camera, uint16_t address); // address cycle
void EmuBusData(int32_t camera, uint16_t word);       // data cycle
uint16_t EmuBusRead(int32_t camera);                  // read cycle under the last address
void EmuBusStream(int32_t camera);                    // the link begins to take pixels
bool EmuBusPixelWaits(int32_t camera);                // by the virtual clock
uint16_t EmuBusTakePixel(int32_t camera);             // 0xFFFF when none waits
bool EmuBusListens(int32_t camera);                   // selected by its bus address, and powered

// --- what a test does with it ---

uint16_t EmuBusRegister(int32_t camera, int32_t reg);
uint16_t EmuBusMemoryWord(int32_t camera, int32_t word); // of the camera memory
void EmuBusPattern(int32_t camera, uint32_t address, uint32_t count, uint16_t* words);
void EmuBusSetMemoryWord(int32_t camera, int32_t word, uint16_t value);
void EmuBusTrigger(int32_t camera, bool seen);         // the external trigger line
void EmuBusSetWheel(int32_t camera, bool zero);        // the filter wheel's zero sensor
void EmuBusPower(int32_t camera, bool on);             // a camera without power answers nothing
void EmuBusMute(int32_t camera, uint32_t afterPixel);  // the stream stalls there; 0xFFFFFFFF: never
double EmuBusTemperature(int32_t camera);              // of the sensor now
int32_t EmuBusCoolerPower(int32_t camera);             // drive of 0 to 4095
uint32_t EmuBusGainWord(int32_t camera, int32_t word); // of the analog front end
