#include "emulator/eeprom.h"

namespace {

enum State : uint32_t { WaitsForStart, TakesCommand, Sends, TakesData, HasAll };

// Opcodes; those with an opcode of 0 are told by the first two address bits.
enum Opcode : uint32_t { Special, Write, Read, Erase };
enum SpecialCode : uint32_t { Disable, WriteAll, EraseAll, Enable };

constexpr uint32_t OpcodeBits = 2;

uint32_t AddressBits(const EmuEeprom& chip)
{
    return chip.asBytes ? 7 : 6;
}

uint32_t DataBits(const EmuEeprom& chip)
{
    return chip.asBytes ? 8 : 16;
}

uint32_t Address(const EmuEeprom& chip)
{
    return chip.command & ((1u << AddressBits(chip)) - 1);
}

uint32_t OpcodeOf(const EmuEeprom& chip)
{
    return chip.command >> AddressBits(chip);
}

SpecialCode SpecialOf(const EmuEeprom& chip)
{
    return static_cast<SpecialCode>(Address(chip) >> (AddressBits(chip) - 2));
}

// The even byte of a word is its low one.
uint32_t Load(const EmuEeprom& chip, uint32_t address)
{
    if (!chip.asBytes) return chip.words[address];
    return chip.words[address / 2] >> (address % 2 * 8) & 0xFFu;
}

void Store(EmuEeprom* chip, uint32_t address, uint32_t value)
{
    if (!chip->asBytes) {
        chip->words[address] = static_cast<uint16_t>(value);
        return;
    }
    const uint32_t shift = address % 2 * 8;
    const uint32_t kept = chip->words[address / 2] & ~(0xFFu << shift);
    chip->words[address / 2] = static_cast<uint16_t>(kept | (value & 0xFFu) << shift);
}

void StoreAll(EmuEeprom* chip, uint32_t value)
{
    for (uint32_t address = 0; address < 1u << AddressBits(*chip); ++address) {
        Store(chip, address, value);
    }
}

void BeginCommand(EmuEeprom* chip)
{
    chip->count = 0;
    const uint32_t opcode = OpcodeOf(*chip);
    if (opcode == Read) {
        chip->state = Sends;
        chip->shift = Load(*chip, Address(*chip));
        chip->out = false;
        return;
    }
    const bool hasData = opcode == Write || (opcode == Special && SpecialOf(*chip) == WriteAll);
    chip->state = hasData ? TakesData : HasAll;
    chip->shift = 0;
}

void Clock(EmuEeprom* chip, bool data)
{
    switch (chip->state) {
    case WaitsForStart:
        if (!data) break;
        chip->state = TakesCommand;
        chip->count = 0;
        chip->command = 0;
        break;
    case TakesCommand:
        chip->command = chip->command << 1 | (data ? 1u : 0u);
        if (++chip->count == OpcodeBits + AddressBits(*chip)) BeginCommand(chip);
        break;
    case Sends:
        chip->out = chip->count < DataBits(*chip) &&
                    (chip->shift >> (DataBits(*chip) - 1 - chip->count) & 1u) != 0;
        ++chip->count;
        break;
    case TakesData:
        chip->shift = chip->shift << 1 | (data ? 1u : 0u);
        if (++chip->count == DataBits(*chip)) chip->state = HasAll;
        break;
    default: break;
    }
}

// Programming begins as the selection ends, and has ended before anybody looks.
void Program(EmuEeprom* chip)
{
    const uint32_t opcode = OpcodeOf(*chip);
    if (opcode == Special && SpecialOf(*chip) == Enable) chip->writable = true;
    if (opcode == Special && SpecialOf(*chip) == Disable) chip->writable = false;
    if (!chip->writable) return;
    if (opcode == Write) Store(chip, Address(*chip), chip->shift);
    if (opcode == Erase) Store(chip, Address(*chip), 0xFFFF);
    if (opcode == Special && SpecialOf(*chip) == EraseAll) StoreAll(chip, 0xFFFF);
    if (opcode == Special && SpecialOf(*chip) == WriteAll) StoreAll(chip, chip->shift);
}

} // namespace

void EmuEepromLines(EmuEeprom* chip, bool select, bool clock, bool data)
{
    if (chip->select && !select) {
        if (chip->state == HasAll) Program(chip);
        chip->state = WaitsForStart;
        chip->out = true;
    }
    if (select && clock && !chip->clock) Clock(chip, data);
    chip->select = select;
    chip->clock = clock;
}
