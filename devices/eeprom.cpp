#include "devices/eeprom.h"

#include "core/record.h"
#include "core/status.h"
#include "platform/system.h"

namespace {

constexpr int32_t Tarn4Plus = 25;
constexpr int32_t Heron = 60;
constexpr int32_t UnodWiring = 2; // of EepromWiring

// Where the chip's lines are.
struct Lines {
    int32_t reg;
    uint16_t clock;
    uint16_t select;
    uint16_t toChip;
    uint16_t fromChip;
    bool readsStatus; // fromChip is a bit of status 7, else of the register
};

constexpr Lines SharedLines = {12, 0x0004, 0x0010, 0x0008, 0x0001, true};
constexpr Lines UnodLines = {13, 0x0002, 0x0010, 0x0001, 0x0040, false};

// A chip while it is talked to.
struct Chip {
    const Lines* lines;
    int32_t addressBits; // 6: words, 7: bytes
    int32_t dataBits;
    uint16_t image; // of the lines' register
    int32_t camera;
};

enum Opcode : uint32_t {
    ProgramOpcode = 0, // enable and disable, by the address
    WriteOpcode = 1,
    ReadOpcode = 2,
    EraseOpcode = 3,
};

void WriteImage(const Chip& chip)
{
    CameraTable[chip.camera].Ops.WriteRegister(chip.lines->reg, chip.image, chip.camera);
}

void SetLine(Chip* chip, uint16_t line)
{
    chip->image |= line;
    WriteImage(*chip);
}

void ClearLine(Chip* chip, uint16_t line)
{
    chip->image = static_cast<uint16_t>(chip->image & ~line);
    WriteImage(*chip);
}

void PutLine(Chip* chip, uint16_t line, bool on)
{
    if (on) {
        SetLine(chip, line);
    } else {
        ClearLine(chip, line);
    }
}

// Tarn_IV_PLUS reads status words in place of registers: its lines start from
// the shadow.
void ReadLines(Chip* chip)
{
    const CameraRecord& record = CameraTable[chip->camera];
    const int32_t reg = chip->lines->reg;
    chip->image = record.PlatformCode == Tarn4Plus ? record.Registers[reg]
                                                   : record.Ops.ReadRegister(reg, chip->camera);
}

// A bit of a command lies at the chip when its clock falls; the rising clock of
// the next one takes it in.
void SendCommandBits(Chip* chip, uint32_t bits, int32_t count)
{
    const Lines& lines = *chip->lines;
    for (int32_t bit = count - 1; bit >= 0; --bit) {
        SetLine(chip, lines.clock);
        PutLine(chip, lines.toChip, (bits >> bit & 1) != 0);
        ClearLine(chip, lines.clock);
    }
}

void Command(Chip* chip, Opcode opcode, uint32_t address)
{
    const Lines& lines = *chip->lines;
    ReadLines(chip);
    ClearLine(chip, static_cast<uint16_t>(lines.select | lines.clock | lines.toChip));
    SetLine(chip, lines.select);
    SendCommandBits(chip, 1, 1); // the start bit
    SendCommandBits(chip, opcode, 2);
    SendCommandBits(chip, address, chip->addressBits);
    SetLine(chip, lines.clock);
    ClearLine(chip, lines.clock);
}

void Deselect(Chip* chip)
{
    ClearLine(chip, chip->lines->select);
    SetLine(chip, chip->lines->clock);
    ClearLine(chip, chip->lines->clock);
}

// The chip could tell when it is done; these clocks are the whole wait.
void AwaitWrite(Chip* chip)
{
    const Lines& lines = *chip->lines;
    ClearLine(chip, lines.toChip);
    ClearLine(chip, lines.select);
    for (int32_t i = 0; i < 500; ++i) {
        SetLine(chip, lines.clock);
        ClearLine(chip, lines.clock);
    }
    SetLine(chip, lines.select);
    SetLine(chip, lines.clock);
    SetLine(chip, lines.toChip);
    ClearLine(chip, lines.clock);
    ClearLine(chip, lines.toChip);
}

void SendData(Chip* chip, uint32_t value)
{
    const Lines& lines = *chip->lines;
    for (int32_t bit = chip->dataBits - 1; bit >= 0; --bit) {
        PutLine(chip, lines.toChip, (value >> bit & 1) != 0);
        SetLine(chip, lines.clock);
        ClearLine(chip, lines.clock);
    }
}

// Status 7 over the port card, which hands a status word out only once. A serial
// link's reply is waited for without limit.
uint16_t PortCardStatus(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const CameraOps& ops = record.Ops;
    const uint16_t base = record.PortBase;
    const uint32_t mode = ops.WriteAddress(0xFFE7, camera);
    ops.PortOut(static_cast<uint16_t>(base + 5), static_cast<uint8_t>((mode | 0x40) & 0x7F));
    if (record.SerialLink != 0) {
        ops.WriteData(0, camera);
        while ((ops.PortIn(static_cast<uint16_t>(base + 7)) & 1) == 0) {
            System.clock.SleepMicroseconds(10);
        }
    }
    return ops.PortWordIn(base);
}

bool SampleLine(const Chip& chip)
{
    const CameraRecord& record = CameraTable[chip.camera];
    const Lines& lines = *chip.lines;
    uint32_t word = 0;
    if (!lines.readsStatus) {
        word = record.Ops.ReadRegister(lines.reg, chip.camera);
    } else if (record.InterfaceType == InterfacePort1 && record.PlatformCode != Heron) {
        word = PortCardStatus(chip.camera);
    } else {
        word = record.Ops.ReadStatus(7, chip.camera);
    }
    return (word & lines.fromChip) != 0;
}

uint32_t ReceiveData(Chip* chip)
{
    uint32_t value = 0;
    for (int32_t bit = 0; bit < chip->dataBits; ++bit) {
        SetLine(chip, chip->lines->clock);
        ClearLine(chip, chip->lines->clock);
        value = value << 1 | (SampleLine(*chip) ? 1 : 0);
    }
    return value;
}

uint32_t ReadCell(Chip* chip, uint32_t address)
{
    Command(chip, ReadOpcode, address);
    const uint32_t value = ReceiveData(chip);
    Deselect(chip);
    return value;
}

void WriteCell(Chip* chip, uint32_t address, uint32_t value)
{
    const uint32_t enable = 3u << (chip->addressBits - 2);
    Command(chip, ProgramOpcode, enable);
    Deselect(chip);
    Command(chip, EraseOpcode, address);
    AwaitWrite(chip);
    Deselect(chip);
    Command(chip, WriteOpcode, address);
    SendData(chip, value);
    AwaitWrite(chip);
    Deselect(chip);
    Delay(2);
    Command(chip, ProgramOpcode, 0);
    Deselect(chip);
}

bool IsHeron(int32_t camera)
{
    return CameraTable[camera].PlatformCode == Heron;
}

Chip ByteChip(int32_t camera)
{
    return {&SharedLines, 7, 8, 0, camera};
}

Chip WordChip(int32_t camera)
{
    return {EepromWiring == UnodWiring ? &UnodLines : &SharedLines, 6, 16, 0, camera};
}

} // namespace

uint16_t EepromRead(int32_t address, int32_t camera)
{
    const uint32_t cell = static_cast<uint32_t>(address);
    if (!IsHeron(camera)) {
        Chip chip = WordChip(camera);
        return static_cast<uint16_t>(ReadCell(&chip, cell));
    }
    Chip chip = ByteChip(camera);
    const uint32_t low = ReadCell(&chip, 2 * cell);
    return static_cast<uint16_t>(ReadCell(&chip, 2 * cell + 1) << 8 | low);
}

void EepromWrite(int32_t address, uint16_t value, int32_t camera)
{
    const uint32_t cell = static_cast<uint32_t>(address);
    if (!IsHeron(camera)) {
        Chip chip = WordChip(camera);
        WriteCell(&chip, cell, value);
        return;
    }
    Chip chip = ByteChip(camera);
    WriteCell(&chip, 2 * cell, value & 0xFFu);
    WriteCell(&chip, 2 * cell + 1, value >> 8);
}
