// A serial EEPROM of the 93C46 kind behind the lines of a camera register, for
// tests: it decodes what is written to the register, bit by bit.
#pragma once
#include <cstdint>
#include <vector>

struct ChipWiring {
    int32_t reg;
    uint16_t clock;
    uint16_t select;
    uint16_t input;
    uint16_t output;
    int addressBits;
    int dataBits;
};

// Kind 0 on register 12, kind 2 on register 13, and HERON's chip of bytes.
inline constexpr ChipWiring SharedChip = {12, 0x04, 0x10, 0x08, 0x01, 6, 16};
inline constexpr ChipWiring UnodChip = {13, 0x02, 0x10, 0x01, 0x40, 6, 16};
inline constexpr ChipWiring ByteChip = {12, 0x04, 0x10, 0x08, 0x01, 7, 8};

class EepromChip {
public:
    explicit EepromChip(const ChipWiring& wiring);

    void Write(uint16_t lines); // what the camera's register holds from now on
    bool Output() const { return output; }

    ChipWiring wiring;
    std::vector<uint16_t> cells; // 0xFFFF or 0xFF when new
    uint16_t lines = 0;
    bool enabled = false; // writing and erasing

private:
    void Clock(bool bit);
    void Decode();
    void Deselect();

    bool started = false;
    std::vector<bool> bits; // behind the start bit
    uint32_t opcode = 0;
    uint32_t address = 0;
    bool output = true;
};
