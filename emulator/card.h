// The interface card between its kernel driver and the cable.
#pragma once
#include <cstdint>

#include "emulator/link.h"

constexpr int32_t EmuCardRoom = 8;
constexpr int32_t EmuUnitRoom = 8;

// How far the serial decoder has come. Words reach the camera once it is through.
struct EmuDecoder {
    bool settingUp, setUp; // the extra setup of 0xAAAA1
    uint32_t mode;         // the last mode word; 0: none
    bool confirmed;        // it gave its second reply, or needs none
    bool through;
};

struct EmuCardState {
    EmuCard setup;
    int32_t units[EmuUnitRoom]; // cameras; -1: none
    bool byteCable;             // as the first camera wants it
    uint64_t owner;             // the driver handle it is registered by; 0: none
    uint32_t control, data, channel;

    // The cable.
    EmuDecoder decoder;
    uint16_t lastAddress; // 0 after a data or read cycle
    bool streaming;       // the camera was told to stream: byte cable only
    uint16_t latch;       // the last word fetched, with a serial cable one cycle behind
    bool replyWaits;      // serial cable
    uint8_t lowByte;      // byte cable: the half of a word that came first
    bool taking;          // the control word lets pixels in
    bool addressed;       // the last cycle was an address
    bool fetched;         // the data register holds what a read cycle brought
    bool primed;          // it was read since the pixels were let in
    bool fifoEmpty;       // nothing is left of an earlier stream
    bool hasWord;         // byte cable: `latch` is the pixel at the front
    EmuIncoming incoming;

    // The DMA engine.
    bool dmaRuns;
    uint32_t dmaCount, dmaAddress; // of 32-bit words, as in the registers
    uint64_t dmaNext;              // physical address of the next word
    bool hasHalf;
    uint16_t half; // the first pixel of a word
};

uint32_t EmuReadCard(EmuCardState* card, uint32_t offset);
void EmuWriteCard(EmuCardState* card, uint32_t offset, uint32_t value);
void EmuClearCard(EmuCardState* card); // what a reset does
void EmuMoveDma(EmuCardState* card);   // whatever has come by now

// What a control word does at the decoder. True if it was the decoder's.
bool EmuDecode(EmuCardState* card, uint32_t control);

// `bytes` bytes of locked memory at a physical address, or null.
uint8_t* EmuLockedMemory(uint64_t physical, uint32_t bytes);

// The engines that run are counted, so that time need not look at each card.
void EmuSetDmaRuns(EmuCardState* card, bool runs);
bool EmuAnyDmaRuns();
