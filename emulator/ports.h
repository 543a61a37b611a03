// The two port links, by the offset of a port from their base.
#pragma once
#include <cstdint>

#include "emulator/link.h"

// Data, status and control port of a parallel printer port.
struct EmuPrinterPort {
    uint16_t base;
    int32_t camera;
    uint8_t control;
    uint8_t lowByte; // of a word whose high byte is to come
    bool streaming;  // the camera was told to stream
    bool taking;     // ... and the port was turned round since
    bool half;       // one byte of `word` has been read
    uint16_t word;
    EmuIncoming incoming;
};
constexpr uint16_t EmuPrinterPorts = 3;

// The port-mapped card: data word at 0, modes at 4 and 6, link control at 5, status at 7.
struct EmuPortCard {
    uint16_t base;
    int32_t camera;
    bool serial;
    uint8_t modes[8]; // as written; 5 is the link control
    bool streaming;
    bool turned; // the next word read empties the buffer and starts the stream
    bool taking;
    bool replyWaits;
    uint16_t reply;
    EmuIncoming incoming;
};
constexpr uint16_t EmuPortCardPorts = 8;

void EmuWritePrinter(EmuPrinterPort* printer, uint16_t offset, uint8_t value);
uint8_t EmuReadPrinter(EmuPrinterPort* printer, uint16_t offset);

void EmuWritePortCard(EmuPortCard* card, uint16_t offset, uint8_t value);
void EmuWritePortCardWord(EmuPortCard* card, uint16_t word);
uint8_t EmuReadPortCard(EmuPortCard* card, uint16_t offset);
uint16_t EmuReadPortCardWord(EmuPortCard* card);
