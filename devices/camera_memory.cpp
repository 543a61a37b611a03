#include "devices/camera_memory.h"

#include "core/open_close.h"
#include "core/record.h"
#include "core/status.h"
#include "core/timer_service.h"
#include "devices/eeprom.h"

namespace {

constexpr uint16_t Empty = 0xFFFF;

enum Word : int32_t {
    SerialHigh = 7,
    SerialLow = 8,
    SerialFormat = 10,
};

// A camera that was made in 2001 and was never written to.
uint16_t SimulatedWord(int32_t address, int32_t /*camera*/)
{
    switch (address) {
    case 4:
    case 5: return 1;
    case 6: return 2001;
    case SerialHigh: return 9876;
    case SerialLow: return 54321;
    default: return Empty;
    }
}

uint16_t NoWord(int32_t /*address*/, int32_t /*camera*/)
{
    return 0;
}

void WriteNothing(int32_t /*address*/, uint16_t /*value*/, int32_t /*camera*/) {}

uint16_t DriverWord(int32_t address, int32_t camera)
{
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.ReadMemory == nullptr) return 0;
    return extras.ReadMemory(address, camera);
}

void WriteDriverWord(int32_t address, uint16_t value, int32_t camera)
{
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.WriteMemory == nullptr) return;
    extras.WriteMemory(address, value, camera);
}

struct MemoryRow {
    int32_t platform;
    uint16_t (*read)(int32_t address, int32_t camera);
    void (*write)(int32_t address, uint16_t value, int32_t camera);
};

// All others have the EEPROM.
constexpr MemoryRow MemoryRows[] = {
    {1, SimulatedWord, WriteNothing},   {28, DriverWord, WriteDriverWord},
    {29, DriverWord, WriteDriverWord},  {48, DriverWord, WriteDriverWord},
    {61, DriverWord, WriteNothing},     {200, DriverWord, WriteNothing},
    {205, DriverWord, WriteDriverWord}, {300, DriverWord, WriteDriverWord},
    {400, NoWord, WriteNothing},        {450, DriverWord, WriteDriverWord},
};
constexpr MemoryRow Eeprom = {0, EepromRead, EepromWrite};

const MemoryRow& MemoryOf(int32_t camera)
{
    for (const MemoryRow& row : MemoryRows) {
        if (row.platform == CameraTable[camera].PlatformCode) return row;
    }
    return Eeprom;
}

int32_t StoredSerial(int32_t camera)
{
    const MemoryRow& memory = MemoryOf(camera);
    if (memory.platform == 48) memory.read(SerialLow, camera); // dropped: required
    const uint32_t low = memory.read(SerialLow, camera);
    const uint32_t high = memory.read(SerialHigh, camera);
    if (low == Empty || high == Empty) return -1;
    const bool isDecimal = memory.read(SerialFormat, camera) != 0;
    return static_cast<int32_t>(isDecimal ? high * 100000 + low : high << 16 | low);
}

} // namespace

uint16_t ReadEP(int32_t address, int32_t camera)
{
    StopNow(camera);
    const uint16_t word = MemoryOf(camera).read(address, camera);
    StartNow(camera);
    return word;
}

void WriteEP(int32_t address, int32_t value, int32_t camera)
{
    StopNow(camera);
    MemoryOf(camera).write(address, static_cast<uint16_t>(value & 0xFFFF), camera);
    StartNow(camera);
}

int32_t GetSerNum(int32_t camera)
{
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.SerialNumber != nullptr) return extras.SerialNumber(camera);
    StopNow(camera);
    Select(camera);
    const int32_t serial = StoredSerial(camera);
    StartNow(camera);
    return serial;
}

void SetSerNum(int32_t serial, int32_t format, int32_t camera)
{
    StopNow(camera);
    Delay(150);
    Select(camera);
    const MemoryRow& memory = MemoryOf(camera);
    const bool isDecimal = format != 0;
    const int32_t high = isDecimal ? serial / 100000 : serial >> 16;
    const int32_t low = isDecimal ? serial - high : serial; // not the remainder: required
    memory.write(SerialLow, static_cast<uint16_t>(low & 0xFFFF), camera);
    memory.write(SerialHigh, static_cast<uint16_t>(high & 0xFFFF), camera);
    memory.write(SerialFormat, static_cast<uint16_t>(format & 0xFFFF), camera);
    StartNow(camera);
}
