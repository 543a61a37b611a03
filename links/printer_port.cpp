#include "links/printer_port.h"

#include "core/errors.h"
#include "core/record.h"
#include "links/bus_map.h"
#include "links/port_loader.h"

namespace {

// The control register's lines.
enum PrinterLine : uint16_t {
    Strobe = 0x01,
    ByteSelect = 0x02,
    AddressSelect = 0x04, // clear: data
    Reading = 0x20,       // the camera drives the data lines
};

constexpr uint8_t CameraBusy = 0x40; // of the status register
constexpr int32_t ReadyPolls = 2000000;
constexpr uint16_t SlowWordNs = 1000; // from here on a strobe is repeated

void WriteControl(const CameraRecord& record, uint32_t lines)
{
    record.Ops.PortOut(record.ControlPort, static_cast<uint8_t>(lines));
}

// Keeps the lines `kept` in the shadow, sets `set`, and writes it.
void DriveControl(uint32_t kept, uint32_t set, CameraRecord* record)
{
    record->ControlShadow = static_cast<uint16_t>((record->ControlShadow & kept) | set);
    WriteControl(*record, record->ControlShadow);
}

// Both bytes of a word, low first; the byte select line stands for the low one.
void SendWord(uint32_t word, CameraRecord* record)
{
    record->Ops.PortOut(record->DataPort, static_cast<uint8_t>(word));
    DriveControl(0xFFFD, 0, record);
    record->Ops.PortOut(record->DataPort, static_cast<uint8_t>(word >> 8));
}

uint32_t PrinterWriteAddress(uint32_t address, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    DriveControl(0xFFFF, AddressSelect | ByteSelect | Strobe, &record);
    SendWord(address, &record);
    return 0;
}

void PrinterWriteData(uint32_t value, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    DriveControl(0xFFFB, ByteSelect, &record);
    SendWord(value, &record);
    DriveControl(0xFFFF, AddressSelect, &record);
}

void PrinterWriteRegister(int32_t reg, int32_t value, int32_t camera)
{
    PrinterWriteAddress(BusRegisters + static_cast<uint32_t>(reg), camera);
    PrinterWriteData(static_cast<uint32_t>(value), camera);
}

// The low byte stands on the data lines; then the high one, and the port drives
// its lines again.
uint16_t TakeWord(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const uint32_t low = record.Ops.PortIn(record.DataPort);
    DriveControl(0xFFFD, 0, &record);
    const uint32_t high = record.Ops.PortIn(record.DataPort);
    ReleasePrinterPort(camera);
    return static_cast<uint16_t>(high << 8 | low);
}

uint16_t ReadWord(int32_t camera)
{
    DriveControl(0xFA, Reading | ByteSelect, &CameraTable[camera]);
    return TakeWord(camera);
}

uint16_t PrinterReadRegister(int32_t reg, int32_t camera)
{
    PrinterWriteAddress(BusRegisterPrefix, camera);
    PrinterWriteAddress(BusRegisters + static_cast<uint32_t>(reg), camera);
    return ReadWord(camera);
}

// A status word wants the direction ahead of the byte.
uint32_t PrinterReadStatus(int32_t selector, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    PrinterWriteAddress(BusStatus + static_cast<uint32_t>(selector), camera);
    DriveControl(0xFA, Reading, &record);
    DriveControl(0xFFFF, ByteSelect, &record);
    return TakeWord(camera);
}

uint32_t PrinterPeek(uint32_t address, int32_t camera)
{
    BeginBusPeek(address, camera);
    return ReadWord(camera);
}

uint16_t ReadDataHighFirst(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint32_t high = record.Ops.PortIn(record.DataPort);
    const int32_t strobes = record.WordPeriodNs >= SlowWordNs ? 2 : 1;
    for (int32_t i = 0; i < strobes; ++i) WriteControl(record, record.ControlShadow | ByteSelect);
    const uint32_t low = record.Ops.PortIn(record.DataPort);
    WriteControl(record, record.ControlShadow);
    return static_cast<uint16_t>(high << 8 | low);
}

uint16_t ReadDataLowFirst(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    WriteControl(record, record.ControlShadow | ByteSelect);
    const uint32_t low = record.Ops.PortIn(record.DataPort);
    DriveControl(0xFFFD, 0, &record);
    const uint32_t high = record.Ops.PortIn(record.DataPort);
    return static_cast<uint16_t>(high << 8 | low);
}

int32_t PrinterWaitReady(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    for (int32_t poll = 0; poll < ReadyPolls; ++poll) {
        if ((record.Ops.PortIn(record.StatusPort) & CameraBusy) == 0) return 0;
    }
    return 1;
}

void PrinterResetLink(int32_t camera)
{
    DriveControl(0xFA, Reading, &CameraTable[camera]);
}

} // namespace

int32_t OpenPrinterPort(uint16_t base, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.SerialLink = 0;
    record.SerialLinkAcknowledged = 0;
    record.PortBase = base;
    record.DataPort = base;
    record.StatusPort = static_cast<uint16_t>(base + 1);
    record.ControlPort = static_cast<uint16_t>(base + 2);
    const int32_t error = AcquirePorts(base, 3, camera);
    if (error != ErrorNone) return error;
    record.ControlShadow = record.Ops.PortIn(record.ControlPort);
    DriveControl(0xD6, AddressSelect | Strobe, &record);
    return ErrorNone;
}

void ReleasePrinterPort(int32_t camera)
{
    DriveControl(0xDF, AddressSelect | Strobe, &CameraTable[camera]);
}

const CameraOps PrinterPortOps = {
    .Poke = BusPoke,
    .Peek = PrinterPeek,
    .PokeW = BusPoke,
    .PeekW = PrinterPeek,
    .ReadRegister = PrinterReadRegister,
    .WriteRegister = PrinterWriteRegister,
    .WaitReady = PrinterWaitReady,
    .WriteData = PrinterWriteData,
    .WriteAddress = PrinterWriteAddress,
    .ResetLink = PrinterResetLink,
    .ReadData = ReadDataHighFirst,
    .ReadStatus = PrinterReadStatus,
};

const CameraOps PrinterPortLowFirstOps = {
    .ReadData = ReadDataLowFirst,
};
