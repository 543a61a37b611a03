// A bus camera on a parallel printer port: bytes clocked by the data port, sorted by
// the lines of the control port.
#include "emulator/ports.h"
#include "emulator/traffic.h"

namespace {

enum Port : uint16_t { Data = 0, Status = 1, Control = 2 };

// Lines of the control port.
constexpr uint8_t Strobe = 0x01, LowByte = 0x02, IsAddress = 0x04, Reading = 0x20;
constexpr uint8_t Unconnected = 0xC0;

constexpr uint8_t NoPixel = 0x40; // of the status port
constexpr uint8_t StatusIdle = 0x9F;

void WriteData(EmuPrinterPort* printer, uint8_t value)
{
    if ((printer->control & Reading) != 0 || (printer->control & Strobe) == 0) {
        EmuNote("stray printer data %02X", value);
    } else if ((printer->control & LowByte) != 0) {
        printer->lowByte = value;
    } else {
        const auto word = static_cast<uint16_t>(value << 8 | printer->lowByte);
        if ((printer->control & IsAddress) != 0) {
            EmuSendAddress(printer->camera, word);
            printer->streaming = EmuStreamsAfter(word, printer->streaming);
        } else {
            EmuSendData(printer->camera, word);
        }
    }
}

// Turning the port round fetches a word, or lets the stream begin.
void WriteControl(EmuPrinterPort* printer, uint8_t value)
{
    const bool turned = (value & Reading) != 0 && (printer->control & Reading) == 0;
    printer->control = value;
    if ((value & Reading) == 0) printer->taking = false;
    if (!turned) return;
    printer->half = false;
    printer->taking = printer->streaming;
    if (printer->taking) {
        EmuBeginTaking(&printer->incoming, printer->camera, true);
    } else {
        printer->word = EmuFetch(printer->camera);
    }
}

// The two bytes of a pixel may be read in either order.
uint8_t ReadData(EmuPrinterPort* printer)
{
    if ((printer->control & Reading) == 0) return 0xFF;
    if (printer->taking) {
        if (!printer->half) printer->word = EmuTakeWord(&printer->incoming);
        printer->half = !printer->half;
    }
    const bool low = (printer->control & LowByte) != 0;
    return static_cast<uint8_t>(low ? printer->word : printer->word >> 8);
}

} // namespace

void EmuWritePrinter(EmuPrinterPort* printer, uint16_t offset, uint8_t value)
{
    switch (offset) {
    case Data: WriteData(printer, value); break;
    case Control: WriteControl(printer, value); break;
    default: EmuNote("stray printer status %02X", value); break;
    }
}

uint8_t EmuReadPrinter(EmuPrinterPort* printer, uint16_t offset)
{
    switch (offset) {
    case Data: return ReadData(printer);
    case Status: {
        const bool ready = printer->taking && EmuWordWaits(&printer->incoming);
        return ready ? StatusIdle : StatusIdle | NoPixel;
    }
    default: return printer->control | Unconnected;
    }
}
