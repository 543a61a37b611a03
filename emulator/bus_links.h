// The links in front of the bus cameras: the interface card with its kernel driver
// and serial decoder, the printer port, the port card, and io.dll.
#pragma once
#include <cstdint>

struct EmuCard {
    uint16_t deviceId = 2001;
    uint32_t revision = 100;      // the revision register
    bool lockedElsewhere = false; // the driver cannot register it
    bool noMemoryItem = false;
    // Identifier of the serial decoder: 0xAAAA1, 0xAAAA2; 3 for the kind that has none; 0 for
    // a parallel cable.
    uint32_t decoder = 0;
    bool unlinked = false;          // the serializer at the far end is off
    uint32_t secondReply = 0;       // of the decoder; 0: 96 after 385, 105 after 421
    uint32_t dmaLimit = 0xFFFFFFFF; // bytes that can be locked; 0xFFFFFFFF: no limit
};

// A card with camera `busCamera` on its cable (-1: nothing there), or with up to
// eight, one a unit. The index of the card, or -1. The first camera is unit 0.
int32_t EmuPlugCard(const EmuCard& card, int32_t busCamera);
void EmuAttachUnit(int32_t card, int32_t unit, int32_t busCamera);
void EmuPlugPrinterPort(uint16_t base, int32_t busCamera);
void EmuPlugPortCard(uint16_t base, bool serial, int32_t busCamera);
void EmuHaveCardDriver(bool present);  // the kernel driver; true after reset
void EmuHavePortLibrary(bool present); // io.dll; true after reset
void EmuRefusePorts(bool refuse);      // the system grants no port access
uint32_t EmuCardsOpen();               // driver handles not closed
uint32_t EmuDmaLocked();               // buffers not unlocked

// What a link does with a camera at its far end, by the camera's index.
struct EmuFarEnd {
    void (*Address)(int32_t camera, uint16_t address);
    void (*Data)(int32_t camera, uint16_t word);
    uint16_t (*Read)(int32_t camera); // under the last address
    void (*Stream)(int32_t camera);   // the link begins to take pixels
    bool (*PixelWaits)(int32_t camera);
    uint16_t (*TakePixel)(int32_t camera);
    bool (*Listens)(int32_t camera);
    bool (*ByteCable)(int32_t camera); // words come as two bytes
    void (*SetUnit)(int32_t camera, uint8_t unit);
};

// Cameras of the caller's own at the far ends, until reset.
void EmuUseFarEnd(const EmuFarEnd& farEnd);
