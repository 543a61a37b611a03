// BRIAR (platform 40, on the printer port), BRIAR-ISA (41, on the port card) and
// BRIAR-PCI (42, on the interface card): one camera with three cables.
#include "drivers/briar.h"

#include <iterator>

#include "core/options.h"
#include "core/record.h"
#include "devices/eeprom.h"
#include "drivers/bus/bus_camera.h"
#include "links/card_link.h"
#include "links/port_card.h"
#include "links/printer_port.h"

namespace {

constexpr int32_t GainRegister = 11;
enum GainLine : uint16_t { GainIdle = 0x10, GainData = 0x20, GainClock = 0x40 };

constexpr uint32_t Gains[] = {0, 29, 145, 205};
constexpr int32_t UserGainIndex = 4;

constexpr int32_t SensorWord = 9; // bit 0 clear: the sensor's resistor is the high one
constexpr uint16_t CoolerBit = 0x20;

void BriarProgram(int32_t camera)
{
    ProgramBusRegisters({}, camera);
}

void BriarCalibrate(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    CalibrateFromMemory(camera);
    const bool low = (EepromRead(SensorWord, camera) & 1) != 0;
    record.SenseResistorHigh[HeadIndex(record)] = low ? 0 : 1;
}

constexpr BusSetup BriarSetup = {
    .cable = {.control = 0x1504, .controlLong = 0x2364, .decoder = NoDecoder, .badReply = 0},
    .serialPortCard = false,
    .program = BriarProgram,
    .calibrate = BriarCalibrate,
    .otherVersionOpens = true,
    .coolerRegister = 12,
    .coolerBits = CoolerBit,
};

uint32_t GainOf(const CameraRecord& record)
{
    const int32_t index = record.GainIndex;
    if (index == UserGainIndex) {
        const int32_t gain = record.UserGain;
        return static_cast<uint16_t>(gain + gain * record.UserGainHigh + record.UserGainHigh);
    }
    return Gains[index >= 0 && index < static_cast<int32_t>(std::size(Gains)) ? index : 0];
}

int32_t BriarOpen(int32_t address, int32_t attach, int32_t camera)
{
    return OpenBusCamera(BriarSetup, address, attach, camera);
}

// The amplifier takes the upper seven bits of a byte.
int32_t BriarSetGain(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (record.LoadedGain == record.GainIndex && record.GainIndex < UserGainIndex) return 0;
    record.LoadedGain = record.GainIndex;
    const uint32_t gain = GainOf(record);
    ClearRegisterBits(GainRegister, GainIdle, camera);
    for (uint32_t bit = 0x80; bit > 1; bit >>= 1) {
        ModifyBusRegister(GainRegister, GainData, (gain & bit) != 0 ? 1 : 0, camera);
        PulseRegister(GainRegister, GainClock, camera);
    }
    SetRegisterBits(GainRegister, GainIdle, camera);
    return 0;
}

int32_t BriarOpenArray(int32_t camera)
{
    return OpenBusArray(BriarSetup, camera);
}

const CameraOps BriarOps = {.OpenCamera = BriarOpen, .SetGain = BriarSetGain};
const CameraOps BriarArrayOps = {.OpenArrayCamera = BriarOpenArray};

} // namespace

const BindingRule BriarPortRules[] = {
    {.ops = &CommonOps}, {.ops = &PrinterPortOps}, {.ops = &BusOps},
    {.ops = &BriarOps},  {.ops = &PixelReadOps},   {},
};

const BindingRule BriarIsaRules[] = {
    {.ops = &CommonOps}, {.ops = &PortCardOps},  {.ops = &BusOps},
    {.ops = &BriarOps},  {.ops = &PixelReadOps}, {},
};

const BindingRule BriarPciRules[] = {
    {.ops = &CommonOps},
    {.ops = &CardLinkOps},
    {.ops = &BusOps},
    {.ops = &BriarOps},
    {.ops = &DmaFrameOps, .optionsSet = OptionCardDma},
    {.ops = &DmaLineOps, .optionsClear = OptionCardDma},
    {.ops = &PixelTimedOps},
    {.ops = &BriarArrayOps},
    {.ops = &BusArrayOps},
    {},
};

const DriverExtras BriarExtras = {.ShiftRows = ShiftBusRows};

const DriverExtras BriarPciExtras = {
    .ShiftRows = ShiftBusRows,
    .SelectUnit = SelectUnit,
    .StartFrame = StartBusFrame,
    .FetchFrame = FetchBusFrame,
    .GiveUpFrame = GiveUpBusFrame,
};
