#include "tests/support/fake_bus.h"

#include <cstdio>

#include "core/binding.h"
#include "core/flags.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "links/card.h"
#include "platform/system.h"
#include "tests/support/unbound_records.h"

FakeBusState Bus;

namespace {

constexpr uint64_t Window = 0x10000;
constexpr uint32_t DmaPhysical = 0x40000;
std::vector<uint16_t> DmaWords; // the locked buffer
size_t DmaTarget;
void (*VirtualSleep)(uint32_t milliseconds);

std::string Hex(uint32_t value)
{
    char text[16];
    snprintf(text, sizeof text, "0x%04X", value);
    return text;
}

void Note(const std::string& text)
{
    Bus.log.push_back(text);
}

void FakeSleep(uint32_t milliseconds)
{
    Note("sleep " + std::to_string(milliseconds));
    VirtualSleep(milliseconds);
}

void FakeWriteRegister(int32_t reg, int32_t value, int32_t)
{
    Note("reg " + std::to_string(reg) + " " + Hex(static_cast<uint32_t>(value)));
    if (reg == Bus.chip.wiring.reg) Bus.chip.Write(static_cast<uint16_t>(value));
}

uint16_t FakeReadRegister(int32_t reg, int32_t camera)
{
    return CameraTable[camera].Registers[reg & (RegisterCount - 1)];
}

int32_t FakeWaitReady(int32_t)
{
    if (Bus.readyWords == 0) return 1;
    --Bus.readyWords;
    return 0;
}

void FakeWriteData(uint32_t value, int32_t)
{
    Note("data " + Hex(value));
}

// The control word that a card link would return.
uint32_t FakeWriteAddress(uint32_t address, int32_t)
{
    Note("address " + Hex(address));
    return 0xE4;
}

void FakeResetLink(int32_t)
{
    Note("reset link");
}

uint16_t FakeReadData(int32_t)
{
    if (Bus.words.empty()) return 0;
    if (Bus.nextWord >= Bus.words.size()) return Bus.words.back();
    return Bus.words[Bus.nextWord++];
}

uint32_t FakeReadStatus(int32_t selector, int32_t)
{
    if (selector == 7) return static_cast<uint32_t>(Bus.status7 | (Bus.chip.Output() ? 1 : 0));
    Note("status " + std::to_string(selector));
    return selector == 15 ? Bus.version : 0;
}

void FakePortOut(uint16_t port, uint8_t value)
{
    Note("port " + Hex(port) + " " + Hex(value));
}

uint16_t FakePortWordIn(uint16_t)
{
    return 0;
}

uint8_t FakePortIn(uint16_t)
{
    return 0xFF; // ready in every respect
}

void FakeProgress(const char* text, int32_t percent, int32_t)
{
    Note("progress " + std::string(text != nullptr ? text : "-") + " " + std::to_string(percent));
}

void MoveDma()
{
    for (uint32_t step = Bus.dmaStep; step > 0 && Bus.dmaLeft > Bus.dmaStall; --step) {
        for (int half = 0; half < 2; ++half) {
            if (DmaTarget >= DmaWords.size() || Bus.stream.empty()) continue;
            DmaWords[DmaTarget++] = Bus.stream.front();
            Bus.stream.erase(Bus.stream.begin());
        }
        --Bus.dmaLeft;
    }
}

uint32_t FakeRegisterRead(uint64_t address)
{
    switch (address - Window) {
    case CardDmaCountReg: MoveDma(); return Bus.dmaLeft;
    case CardControlReg: return Bus.control;
    case CardRevisionReg: return Bus.revision;
    default: return 0;
    }
}

void FakeRegisterWrite(uint64_t address, uint32_t value)
{
    switch (address - Window) {
    case CardDmaCountReg:
        Note("count " + std::to_string(value));
        Bus.dmaLeft = value;
        break;
    case CardDmaAddressReg: Note("dma " + Hex(value)); break;
    case CardDmaControlReg:
        Note("start " + Hex(value));
        DmaTarget = 0;
        break;
    case CardDataReg: Note("operand " + Hex(value)); break;
    case CardControlReg:
        Note("control " + Hex(value));
        Bus.control = value;
        break;
    case CardChannelReg: Note("channel " + Hex(value)); break;
    default: Note("register " + std::to_string(address - Window)); break;
    }
}

void PutFakeLink(CameraOps* ops)
{
    ops->ReadRegister = FakeReadRegister;
    ops->WriteRegister = FakeWriteRegister;
    ops->WaitReady = FakeWaitReady;
    ops->WriteData = FakeWriteData;
    ops->WriteAddress = FakeWriteAddress;
    ops->ResetLink = FakeResetLink;
    ops->ReadData = FakeReadData;
    ops->ReadStatus = FakeReadStatus;
    ops->ProgressCallback = FakeProgress;
    ops->PortOut = FakePortOut;
    ops->PortIn = FakePortIn;
    ops->PortWordIn = FakePortWordIn;
}

CcdDefinition SmallChip()
{
    CcdDefinition ccd = {};
    ccd.Xpix = 8;
    ccd.Ypix = 4;
    ccd.HorRegSize = 28;
    for (uint16_t binning = 1; binning <= 4; ++binning) ccd.Dummy[binning - 1] = binning;
    return ccd;
}

} // namespace

void OpenFakeBus(int32_t platform, int32_t sensor, uint32_t options, int32_t interfaceType)
{
    CameraRecord& record = CameraTable[0];
    record.PlatformCode = platform;
    record.CcdCode = sensor;
    record.InterfaceType = interfaceType;
    record.CameraBusAddress = 0xFFF0;
    record.HorBinning = 1;
    record.VerBinning = 1;
    record.LoadedGain = -1;
    record.TemperatureSpanWord = 10;
    record.Ccd = SmallChip();
    record.Platform.TimeBase = 10.0;
    record.Platform.SamplingClock[0] = 1.0;
    // Idle, row, pixel, line: pages 1 to 4, with 10, 20, 30 and 40 as last index.
    for (uint16_t section = 0; section < 4; ++section) {
        record.SequenceTable[2 * section] = static_cast<uint16_t>((section + 1) << 8);
        record.SequenceTable[2 * section + 1] = static_cast<uint16_t>((section + 1) * 10);
    }
    StoreFlag(&record.Options, options);
    BindOperations(platform, options, 0);
    PutFakeLink(&record.Ops);
}

void PlugFakeCard(size_t words)
{
    CameraRecord& record = CameraTable[0];
    DmaWords.assign(words, 0);
    record.CardMapped = 1;
    record.CardWindow = Window;
    record.DmaBuffer = DmaWords.data();
    record.DmaBytes = static_cast<uint32_t>(words * sizeof(uint16_t));
    record.DmaAddress = DmaPhysical;
    System.registers.Read = FakeRegisterRead;
    System.registers.Write = FakeRegisterWrite;
}

std::string TakeBusLog()
{
    std::string text;
    for (const std::string& line : Bus.log) text += (text.empty() ? "" : "; ") + line;
    Bus.log.clear();
    return text;
}

std::string ClockedBits(int32_t reg, uint16_t clock, uint16_t data)
{
    const std::string start = "reg " + std::to_string(reg) + " ";
    std::string bits;
    unsigned long before = 0;
    for (const std::string& line : Bus.log) {
        if (line.rfind(start, 0) != 0) continue;
        const unsigned long lines = std::stoul(line.substr(start.size()), nullptr, 16);
        if ((lines & clock) != 0 && (before & clock) == 0) bits += (lines & data) != 0 ? '1' : '0';
        before = lines;
    }
    return bits;
}

void FakeBusTest::SetUp()
{
    UnbindRecords();
    Bus = FakeBusState{};
    VirtualSleep = System.clock.Sleep;
    System.clock.Sleep = FakeSleep;
    System.port.Acquire = [](uint16_t, uint16_t) { return true; };
}

void FakeBusTest::TearDown()
{
    EmuInstall();
    EmuReset();
}
