// The cameras on USB, at the level of bytes on their pipe: 300, 450 (commands with an
// acknowledge), 29, 48, 400 (pairs of address and value), 61, 200 (flagged register
// numbers), and behind the adaptor library 205 (bytes) and 28 (words).
//
// 61, 200, 205 and 28 play the loaded pattern on the sensor: light falls on it when the
// exposure counter is started with a time that is not zero and the shutter line is up
// (register 6, on 28 register 3, bit 2); all rows are then full, until they are clocked
// out. With bit 0 of that register the counter waits for the trigger line. A section that
// was armed is sent from the counter's end on, to a host that reads before or after; the
// counter may be started anew until then. The bytes of a line come evenly over the time
// that the pattern takes. Channel n of 205's second converter reads 512 n.
//
// The others compute the frame from the geometry that they were told. Their sensor's
// pixel (column, row) belongs to bin (column / hbin, row / vbin); a bin is the sum of its
// pixels, at most 65535; what lies outside the sensor is 0. A line begins with the cell
// of the register that was named as the first of the image: with another one than the
// sensor's, `leading`, the picture is shifted. Their pixels come one each `wordNs`, the
// first when the exposure is over.
//
//   300, 450  By command 9. Command 10 sends width x height words, from the first bin of
//             the first row on, in lines of the width of command 9, whatever its own is;
//             command 11 sends lines of its own width, from x, y in bins. There is nothing
//             from the register's end (word 3) and the last row (word 5) on. With sensor
//             5000 a full frame has two fields: line n + 3 of the stream is row 2n, line
//             n + 259 row 2n + 1. Light: the shutter line (command 19) and the frame
//             command's own byte are not 0. After command 22 a frame waits for the trigger.
//   29        Width x height words by parameters 8, 9, from bin 6 and line 7 on. Light: the
//             last command before the exposure was 19, not 18.
//   48        By the ten words of the readout order, counted from 1. Cells of the register
//             are skipped as word 4 says, the leading ones among them, and as many behind as
//             word 5 says; the line has what is left, in bins. Rows are skipped as word 6
//             says (16 bits signed, none below 0). Lines as word 3 says. Light: byte register
//             22, and the exposure counter was started with a time that is not zero.
//   400       Bins and lines from the start (1, 8) up to the end (3, 10), counted from 0: the
//             sensor's leading cells take `leading` bins. Always light.
//
// The functions here are for the thread that uses the library, between its calls.
#pragma once
#include <cstdint>

#include "emulator/line_maps.h"
#include "emulator/sensor.h"
#include "emulator/wheel.h"

// What stands in the camera. Whatever is 0 takes the value given here.
struct EmuUsbCamera {
    int32_t platform;
    int32_t sensor;
    uint16_t version;        // of the hardware
    uint16_t firmware;       // 29: word 2; 4098. 48: reply to 114; 100
    EmuChip chip;            // with the scene; none: a black one
    EmuLineMap lines;        // of the pattern, by EmuFindLineMap (61, 200, 205, 28)
    uint32_t wordNs;         // time of a pattern word, of a pixel where there is none; 1000
    double ambient;          // degrees Celsius; 20
    uint16_t memory[64];     // camera memory
    const char* serial;      // of the USB device; "00000001" and so on
    const char* description; // of the USB device; the platform's name and zeros
    // How far its converter is behind: a frame begins with lagCells / hbin + lagWords words of
    // 0, and lacks as many at its end. Lag by cells is for cameras that are told a geometry.
    uint8_t lagCells, lagWords;
    bool variant;        // 200: status 10 has bit 1 set
    uint8_t badStatus;   // 61, 200: readings of status 15 that are wrong after power-up
    EmuWheelSetup wheel; // none
};

// Adds a camera to the next free USB port, or to the adaptor; its index, which is that
// of the port or the adaptor's device number as well. 0 to 7, or -1.
int32_t EmuPlugUsbCamera(const EmuUsbCamera& setup);
int32_t EmuPlugUsbCameraAt(int32_t index, const EmuUsbCamera& setup); // -1: it is in use
void EmuUnplugUsbCamera(int32_t camera);
void EmuReplugUsbCamera(int32_t camera); // in the state of power-up

// --- what a test does with it ---

// A byte, of 28 a word; or what the camera was told last: on 29 parameter `reg` (byte
// registers from EmuTarnUByte on), on 48 also the argument of letter `reg`, 100 and up, on
// 300 and 450 the argument of command `reg`, or what is named below.
uint16_t EmuUsbRegister(int32_t camera, int32_t reg);
uint32_t EmuUsbLongRegister(int32_t camera, int32_t reg); // 32 bits from there on, low byte first
enum EmuUsbPlace : int32_t {
    EmuTolmEExposure = 64, // 300, 450: microseconds
    EmuTolmEDelay = 68,    // milliseconds
    EmuTolmEWheel = 80,    // the last value for each selector of command 13
    EmuTarnUByte = 64,
};
uint16_t EmuUsbMemoryWord(int32_t camera, int32_t word);
void EmuUsbSetMemoryWord(int32_t camera, int32_t word, uint16_t value);
// Of the pattern memory; words are stored low byte first. How many there are.
uint32_t EmuUsbPatternBytes(int32_t camera, uint32_t address, uint32_t count, uint8_t* bytes);
void EmuUsbTrigger(int32_t camera, bool seen); // the external trigger line

// It sends no more than so many bytes, and of each frame no more than so many pixels;
// 0xFFFFFFFF: all.
void EmuUsbMute(int32_t camera, uint32_t bytes);
void EmuUsbStall(int32_t camera, uint32_t afterPixel);
void EmuUsbHang(int32_t camera); // its processor is busy for good (29, 48)

double EmuUsbTemperature(int32_t camera);                  // of the sensor now
void EmuUsbSetTemperature(int32_t camera, double celsius); // from here it drifts on
int32_t EmuUsbCoolerPower(int32_t camera);                 // the code as it was sent
bool EmuUsbCoolerOn(int32_t camera);
uint16_t EmuUsbFan(int32_t camera); // the code as it was sent
// How often light fell on the sensor, or a frame had light.
uint32_t EmuUsbExposures(int32_t camera);
// A word of the front end; on 300 and 450 of command 12.
uint32_t EmuUsbGainWord(int32_t camera, int32_t word);
uint32_t EmuUsbCommands(int32_t camera, int32_t command); // 300, 450, 29, 48: how often it came
// 300, 450: words of command 9, from 16 on those of command 23. 48: of the readout order.
uint16_t EmuUsbGeometry(int32_t camera, int32_t word);
uint32_t EmuUsbStrayBytes(int32_t camera); // bytes that belong to no sentence of its language
// To see and to touch between calls of the library; null: no such camera.
EmuWheel* EmuUsbWheel(int32_t camera);

// The adaptor's library; true after reset. `entry`: one that it does not have.
void EmuHaveAdaptorLibrary(bool present);
void EmuHideAdaptorEntry(const char* entry);
uint32_t EmuAdaptorOpen(); // devices open
