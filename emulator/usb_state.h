// What the sources of the USB cameras share.
#pragma once
#include <cstdint>
#include <vector>

#include "emulator/pipe.h"
#include "emulator/sequencer.h"
#include "emulator/shift_lines.h"
#include "emulator/tarn5.h"
#include "emulator/thermal.h"
#include "emulator/usb.h"
#include "emulator/usb_camera.h"
#include "platform/system.h"

// A picture as a camera was told to make it. Columns and rows are the sensor's.
struct EmuUsbFrame {
    bool light;
    int64_t column, row;       // where its first bin begins
    int64_t columnEnd, rowEnd; // bins that begin there or behind are empty
    uint32_t hbin, vbin;
    uint32_t width;                             // bins of a line
    uint64_t words;                             // to send
    int64_t (*lineOf)(uint32_t line) = nullptr; // of the picture in a line sent; below 0: none
};
struct EmuUsbState;

// A section between its start and its first word.
struct EmuUsbPlay {
    uint16_t page;
    bool byHand;        // started by the host: played as the host goes on
    bool followsCount;  // starts as the exposure counter ends
    bool awaitsTrigger; // so does the counter
    uint64_t counts;    // microseconds, of that counter
};

// How cameras of one kind take what comes along their pipe.
struct EmuUsbDialect {
    void (*powerUp)(EmuUsbState* camera);
    // Bytes of one write; for 28 behind the adaptor two bytes an item, low byte first.
    void (*receive)(EmuUsbState* camera, const uint8_t* bytes, uint32_t count);
    void (*trigger)(EmuUsbState* camera) = nullptr; // the trigger line goes up
    // The host looks for what the camera sends, and may wait for it.
    void (*look)(EmuUsbState* camera) = nullptr;
};

struct EmuUsbState {
    EmuUsbCamera setup;
    const EmuUsbDialect* dialect;
    int32_t index; // its own, and that of its port or adaptor device
    bool adaptor;
    bool powered;
    uint32_t powerUps;         // times that it was plugged in
    uint32_t stall;            // pixels of a frame that it sends; 0xFFFFFFFF: all
    uint32_t pixelsLeft;       // of the present one until then
    std::vector<uint8_t> late; // bytes that the converter has not handed over
    uint32_t mute;             // bytes that it still sends; 0xFFFFFFFF: without end
    EmuPipe adaptorPipe;       // what it sends to the adaptor, and the adaptor has not handed out

    // The sentence that is being received.
    uint8_t sentence[32];
    uint32_t received;
    uint32_t stray;
    uint32_t asked; // bytes of the read request that is coming (29, 48, 400)

    uint16_t registers[256];
    uint16_t memory[64];
    EmuPatternMemory pattern;
    EmuSensor sensor;
    uint16_t repeat, end; // of the section
    uint32_t exposures;
    uint64_t exposureEnds;
    bool armed, trigger;
    EmuWheel wheel;
    EmuUsbPlay play;
    uint64_t busyUntil; // of the camera's processor

    EmuThermal thermal;
    uint32_t driveCode;
    bool coolerOn;
    uint16_t fan;
    uint16_t conversion; // the last temperature reading
    uint32_t gainWords[8];
    EmuShiftWord drive, gain; // on their way to the converter and the front end
    bool sampled;             // the converter holds what it is to convert
    uint16_t channelCount;    // the last conversion of another channel (205)
    uint8_t badLeft;          // readings of status 15 that will be wrong
    EmuLetter letter;         // to the camera's processor (28, 29, 48)
    bool statusDue;           // the status that is selected has not been taken (28)

    // For cameras that are told a geometry; others leave it alone.
    uint16_t geometry[32];
    uint32_t commands[256];
    bool light;
    bool frameWaits; // for the trigger
    EmuUsbFrame waiting;
    uint32_t orderWords;    // of 48's readout order
    uint64_t settlingUs;    // of 48's shutter
    uint64_t versionAt;     // when 48 knows it
    bool reading;           // 29 was told to read
    uint16_t memoryAddress; // on 29, in bytes
    uint32_t frontEnd;      // bits on their way to the front end of 400
    uint64_t clearedAt;     // when 400 has cleared its sensor; 0: it was not told to
};

extern const EmuUsbDialect EmuTolmE;      // 300, 450
extern const EmuUsbDialect EmuR4Dsp;      // 48
extern const EmuUsbDialect EmuTolm;       // 400
extern const EmuUsbDialect EmuTarnU;      // 29
extern const EmuUsbDialect EmuHeronPlus;  // 61, 200
extern const EmuUsbDialect EmuOspreyPlus; // 205
extern const EmuUsbDialect EmuTarn5Usb;   // 28

// usb_camera.cpp
// Sends along the camera's pipe, whichever it is, until it is mute.
void EmuUsbSend(EmuUsbState* camera, const uint8_t* bytes, uint32_t count, uint64_t at,
                uint32_t byteNs);
// Pixels of a frame, which come late and may stall.
void EmuUsbBeginFrame(EmuUsbState* camera, uint32_t hbin);
void EmuUsbSendPixels(EmuUsbState* camera, std::vector<uint8_t>* bytes, uint64_t at,
                      uint32_t byteNs);
void EmuUsbDropSent(EmuUsbState* camera);          // what the host has not taken
EmuUsbState* EmuFindAdaptorCamera(int32_t device); // null: nothing there

// A pixel of the sensor's scene, 0 outside of it; a bin of it, at most 65535.
uint16_t EmuSceneBin(const EmuUsbState& camera, int64_t column, int64_t row, uint32_t hbin,
                     uint32_t vbin);

// Of full cooling, which is reached with `most`.
void EmuUsbDriveCooler(EmuUsbState* camera, uint32_t code, bool on, uint32_t most);
// What the converter makes of the sensor's temperature, 0 to `most`.
uint16_t EmuUsbThermometer(const EmuUsbState& camera, double countsPerKelvin, uint32_t most);

// A byte that belongs to no sentence: counted and noted.
void EmuUsbStray(EmuUsbState* camera, uint8_t byte);

// usb_frame.cpp
// Sends it when the exposure is over, at the pace of the pixels. An armed camera waits for
// its trigger first.
void EmuSendFrame(EmuUsbState* camera, const EmuUsbFrame& frame);
void EmuReleaseFrame(EmuUsbState* camera); // the trigger is there

// pair_link.cpp
// Addresses and values by turns, and requests of bytes from an address on.
struct EmuPairLink {
    void (*write)(EmuUsbState* camera, uint8_t address, uint8_t value);
    uint8_t (*read)(EmuUsbState* camera, uint8_t address);
    uint8_t frameAddress; // what is asked from there is the frame's
    void (*frame)(EmuUsbState* camera, uint32_t bytes);
};
void EmuReceivePairs(EmuUsbState* camera, const EmuPairLink& link, const uint8_t* bytes,
                     uint32_t count);

// usb.cpp
int32_t EmuPlugUsbAt(int32_t port, const EmuUsbDevice& device);

// usb_play.cpp: sections of the cameras that play a pattern, under three lines of control.
enum EmuSectionLine : uint32_t { EmuByHand = 1, EmuStart = 2, EmuSends = 4 };
void EmuUsbSections(EmuUsbState* camera, uint32_t before, uint32_t now, uint16_t page);
void EmuUsbStopSections(EmuUsbState* camera);
// The exposure counter is started; light falls on the sensor if the shutter opens. On
// the trigger: as its line goes up.
void EmuUsbCount(EmuUsbState* camera, uint64_t microseconds, bool onTrigger);
void EmuUsbLook(EmuUsbState* camera);
void EmuUsbTriggered(EmuUsbState* camera);

// heron_registers.cpp: byte registers of 61, 200 and 205
void EmuHeronPowerUp(EmuUsbState* camera);
void EmuHeronWrite(EmuUsbState* camera, uint32_t reg, uint8_t value);
uint8_t EmuHeronRead(EmuUsbState* camera, uint32_t number);
