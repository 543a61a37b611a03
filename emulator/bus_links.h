// The links in front of the bus cameras: the interface card with its kernel driver
// and serial decoder, the printer port, the port card, and io.dll.
#pragma once
#include <cstdint>

struct EmuCard {
    uint16_t deviceId;    // 2001
    uint32_t revision;    // low word of the revision register; 100
    bool lockedElsewhere; // the driver cannot register it
    bool noMemoryItem;
    uint32_t decoder; // identifier of the serial decoder: 0 for a parallel cable, 0xAAAA1, 0xAAAA2
    bool unlinked;    // the serializer at the far end is off
    uint32_t secondReply; // of the decoder; 96
    uint32_t dmaLimit;    // bytes that can be locked; 0: none, 0xFFFFFFFF: no limit
};

// A card with camera `busCamera` on its cable (-1: nothing there), or with up to
// eight, one a unit. The index of the card, or -1.
int32_t EmuPlugCard(const EmuCard& card, int32_t busCamera);
void EmuAttachUnit(int32_t card, int32_t unit, int32_t busCamera);
void EmuPlugPrinterPort(uint16_t base, int32_t busCamera);
void EmuPlugPortCard(uint16_t base, bool serial, int32_t busCamera);
void EmuHaveCardDriver(bool present);  // the kernel driver; true after reset
void EmuHavePortLibrary(bool present); // io.dll; true after reset
void EmuRefusePorts(bool refuse);      // the system grants no port access
uint32_t EmuCardsOpen();               // driver handles not closed
uint32_t EmuDmaLocked();               // buffers not unlocked
