// The two ways in which a user program may have a PCI card on Linux.
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/linux/card.h"
#include "platform/linux/pci.h"

// Registers are reached through a mapping where there is one, else by reads and
// writes of a file: a window below a page in size may not be mapped everywhere.
constexpr size_t CardWindowRoom = 1 << 24;

struct CardWindow {
    size_t bytes; // 0: no window; at most the room
    uint8_t* base;
    int file;
    uint64_t offset;
    uint8_t* mapping; // whole pages around `base`
    size_t mappingBytes;
};

struct CardClaim {
    PciAddress address;
    int device; // what holds the card; with VFIO also its files
    int config; // configuration space; below 0: not to be had
    uint64_t configOffset;
    uint32_t group; // VFIO: its number
    CardWindow window;
};

// Memory that a card can reach as one block of bus addresses.
struct DmaBlock {
    void* memory;
    size_t bytes;
    uint32_t busAddress;
    bool own; // allocated here, all zero; else the caller's
    uint8_t* mapping;
    size_t mappingBytes;
};

struct CardBackend {
    // Takes the card for this process and maps its first memory window, if it
    // has one. False: somebody else has it, or there are no rights to it.
    bool (*Claim)(const CardHost& host, const PciAddress& address, CardClaim* claim);
    // Fills `memory` if the block is its own, and the bus address.
    bool (*Lock)(const CardHost& host, const CardClaim& claim, DmaBlock* block);
    void (*Unlock)(const CardClaim& claim, DmaBlock* block);
    // Every block of the card is unlocked by then.
    void (*Release)(const CardHost& host, CardClaim* claim);
};

// The driver for devices in user programs: any memory becomes one block, and
// the card reaches nothing else.
extern const CardBackend VfioCards;
bool IsVfioThere(const CardHost& host);

// The device's own files and one huge page: for machines that do not translate
// bus addresses, and privileged users.
extern const CardBackend SysfsCards;
bool MayMapCard(const CardHost& host, const PciAddress& address);

// --- what both share ---

// The first memory bar; PciBarCount: there is none.
uint32_t FirstMemoryBar(const PciBar bars[PciBarCount]);

// Maps what has room of the `bytes` at `offset` of `file`, which need not begin
// with a page.
bool MapWindow(int file, uint64_t offset, uint64_t bytes, CardWindow* window);
void UnmapWindow(CardWindow* window);

// Bits of the command word in configuration space.
constexpr uint16_t PciMemorySpace = 2;
constexpr uint16_t PciBusMaster = 4;
bool SetPciCommand(const CardClaim& claim, uint16_t set, uint16_t cleared);
