#include "tests/support/eeprom_chip.h"

namespace {

uint32_t Number(const std::vector<bool>& bits, size_t from, size_t count)
{
    uint32_t number = 0;
    for (size_t i = from; i < from + count; ++i) number = number * 2 + (bits[i] ? 1 : 0);
    return number;
}

} // namespace

EepromChip::EepromChip(const ChipWiring& chipWiring)
    : wiring(chipWiring), cells(size_t{1} << chipWiring.addressBits,
                                static_cast<uint16_t>((1u << chipWiring.dataBits) - 1))
{
}

void EepromChip::Write(uint16_t now)
{
    const uint16_t before = lines;
    lines = now;
    if ((now & wiring.select) == 0) {
        if ((before & wiring.select) != 0) Deselect();
        return;
    }
    const bool rises = (now & wiring.clock) != 0 && (before & wiring.clock) == 0;
    if (rises) Clock((now & wiring.input) != 0);
}

void EepromChip::Clock(bool bit)
{
    if (!started) {
        started = bit;
        return;
    }
    bits.push_back(bit);
    const size_t command = 2 + static_cast<size_t>(wiring.addressBits);
    if (bits.size() == command) Decode();
    if (bits.size() > command && opcode == 2) {
        const size_t shown = bits.size() - command; // 1: the highest bit
        output = shown <= static_cast<size_t>(wiring.dataBits) &&
                 (cells[address] >> (static_cast<size_t>(wiring.dataBits) - shown) & 1) != 0;
    }
}

void EepromChip::Decode()
{
    opcode = Number(bits, 0, 2);
    address = Number(bits, 2, static_cast<size_t>(wiring.addressBits));
    if (opcode == 2) output = false; // one 0 ahead of the data
    if (opcode == 0) {
        const uint32_t what = address >> (wiring.addressBits - 2);
        if (what == 3) enabled = true;
        if (what == 0) enabled = false;
    }
}

void EepromChip::Deselect()
{
    const size_t command = 2 + static_cast<size_t>(wiring.addressBits);
    const size_t data = static_cast<size_t>(wiring.dataBits);
    if (enabled && bits.size() == command && opcode == 3) {
        cells[address] = static_cast<uint16_t>((1u << data) - 1);
    }
    // What is written can only clear bits: a word must be erased first.
    if (enabled && bits.size() == command + data && opcode == 1) {
        cells[address] &= static_cast<uint16_t>(Number(bits, command, data));
    }
    started = false;
    bits.clear();
    output = true;
}
