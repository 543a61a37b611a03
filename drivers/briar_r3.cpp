// BRIAR-R3 (platform 44) and R3-PLUS (47), on the interface card, by a parallel or a
// serial cable: BRIAR-PCI with a clock synthesiser and another front end.
#include "drivers/briar_r3.h"

#include "core/convert.h"
#include "core/errors.h"
#include "core/options.h"
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "links/card.h"
#include "links/card_link.h"
#include "platform/system.h"

namespace {

constexpr int32_t ExposureRegister = 5;
constexpr double ExposureRate = 100000.0; // counts a second

constexpr uint16_t HighRange = 216, LowRange = 88;
constexpr uint16_t CoolerBit = 0x20;

// What sets the two apart.
struct R3Model {
    double clockFactor;
    uint16_t register18, register16;
};
constexpr R3Model R3 = {1.0, 0, 63};
constexpr R3Model R3Plus = {2.0, 1792, 255};
constexpr int32_t R3PlusPlatform = 47;
constexpr double ClockStep = 0.3; // microseconds

struct FrontEndStep {
    uint32_t address, value;
};
constexpr FrontEndStep FrontEndSteps[] = {{0, LowRange}, {1, 64}, {5, 256}};

// Bits of register 13 by sensor.
uint16_t ModeOf(int32_t sensor)
{
    switch (sensor) {
    case 250: return 0x3010;
    case 279: return 0x7010;
    default: return 0x3110;
    }
}

void R3Program(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const R3Model& model = record.PlatformCode == R3PlusPlatform ? R3Plus : R3;
    const double clock = record.Platform.SamplingClock[0] * model.clockFactor;
    record.WordPeriodNs = ProgramClockSynthesiser(ToInt32(clock / ClockStep - 1), camera);
    StoreRegister(15, 0, camera);
    StoreRegister(3, 249, camera);
    StoreRegister(4, 8720, camera);
    StoreRegister(18, model.register18, camera);
    SetRegisterBits(13, ModeOf(record.CcdCode), camera);
    for (const FrontEndStep& step : FrontEndSteps) FrontEndWrite(step.address, step.value, camera);
    StoreRegister(16, model.register16, camera);
}

// The sensor's resistor is always the high one; a camera of another version is
// not there, so this is always reached.
void R3Calibrate(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    CalibrateFromMemory(camera);
    record.SenseResistorHigh[HeadIndex(record)] = 1;
}

constexpr BusSetup R3Setup = {
    .cable = {.control = 0x1504,
              .controlLong = 0x1524,
              .decoder = PlainDecoder,
              .badReply = ErrorSerialDecoder},
    .serialPortCard = false,
    .program = R3Program,
    .calibrate = R3Calibrate,
    .otherVersionOpens = false,
    .coolerRegister = 12,
    .coolerBits = CoolerBit,
};

int32_t R3Open(int32_t address, int32_t attach, int32_t camera)
{
    return OpenBusCamera(R3Setup, address, attach, camera);
}

void R3SetShutter(double seconds, int32_t camera)
{
    SetLongCounter(ToUint32(seconds * ExposureRate), ExposureRegister, camera);
}

int32_t R3SetGain(int32_t camera)
{
    return SetFrontEndGain(HighRange, LowRange, camera);
}

int32_t R3OpenArray(int32_t camera)
{
    return OpenBusArray(R3Setup, camera);
}

// The power status is looked at twice; a card that is gone reads as all ones.
int32_t R3QueryStatus(int32_t which, int32_t camera)
{
    constexpr int32_t PowerStatus = 9;
    constexpr uint32_t BetweenMs = 20;
    enum Question : int32_t { PowerQuestion = 1, TransferQuestion = 2 };
    const CameraOps& ops = CameraTable[camera].Ops;
    switch (which) {
    case PowerQuestion: {
        const uint32_t first = ops.ReadStatus(PowerStatus, camera);
        System.clock.Sleep(BetweenMs);
        const uint32_t second = ops.ReadStatus(PowerStatus, camera);
        return first != 0 || second != 0 ? 1 : 0;
    }
    case TransferQuestion: return ReadCard(CardDmaCountReg, camera) != 0 ? 1 : 0;
    default: return 0;
    }
}

const CameraOps R3Ops = {
    .OpenCamera = R3Open,
    .SetShutter = R3SetShutter,
    .SetGain = R3SetGain,
    .OpenArrayCamera = R3OpenArray,
};

} // namespace

const BindingRule R3Rules[] = {
    {.ops = &CommonOps},
    {.ops = &CardLinkOps},
    {.ops = &BusOps},
    {.ops = &R3Ops},
    {.ops = &DmaFrameOps, .optionsSet = OptionCardDma},
    {.ops = &DmaLineOps, .optionsClear = OptionCardDma},
    {.ops = &PixelTimedOps},
    {.ops = &BusArrayOps},
    {},
};

const DriverExtras R3Extras = {
    .QueryStatus = R3QueryStatus,
    .ShiftRows = ShiftBusRows,
    .SelectUnit = SelectUnit,
    .StartFrame = StartBusFrame,
    .FetchFrame = FetchBusFrame,
    .GiveUpFrame = GiveUpBusFrame,
};

const DriverExtras R3PlusExtras = {
    .QueryStatus = R3QueryStatus,
    .ShiftRows = ShiftBusRows,
    .SelectUnit = SelectUnit,
    .ArmFrame = ArmBusFrame,
    .StartFrame = StartArmedBusFrame,
    .FetchFrame = FetchArmedBusFrame,
    .GiveUpFrame = GiveUpBusFrame,
};
