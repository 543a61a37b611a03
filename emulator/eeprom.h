// The camera memory: a 93C46 as its three lines see it, as 64 words of 16 bits or as
// 128 bytes. It takes data as the clock rises while it is selected.
#pragma once
#include <cstdint>

struct EmuEeprom {
    uint16_t words[64];
    bool asBytes;
    bool select, clock;
    uint32_t state;   // what the next clock is for
    uint32_t count;   // bits taken in this state
    uint32_t shift;   // bits taken, or still to be sent
    uint32_t command; // opcode and address
    bool writable;
    bool out; // the line from the chip; 1 while it is idle
};

void EmuEepromLines(EmuEeprom* chip, bool select, bool clock, bool data);
