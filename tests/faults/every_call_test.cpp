// The bus links and the USB links, one camera each. Sensor, pattern and image are small, so that
// every call of an open, a load and a frame can be made to fail in an hour.
#include "tests/faults/small_links.h"
#include "tests/faults/sweep.h"

namespace {

constexpr VirtualSetup PortCardSerial = {.platform = 22,
                                         .sensor = 255,
                                         .interfaceType = 1,
                                         .builder = "BuildWaveTarn3Kaf",
                                         .interfaceLink = 1};

constexpr FaultyLink Links[] = {
    {"CardParallel", Small({42, 255, 2, "BuildWaveBriar", 200})},
    {"CardLineByLine", Small({42, 255, 2, "BuildWaveBriar", 100})},
    {"CardSerial", Small({44, 255, 2, "BuildWaveR3", 200, 0xAAAA2})},
    {"CardCounted", Small({70, 255, 70, nullptr})},
    {"ByteCable", Small({60, 255, 2, "BuildWaveHeron"})},
    {"PrinterPort", Small({40, 255, 0, "BuildWaveBriar"})},
    {"PortCard", Small({41, 255, 1, "BuildWaveBriar"})},
    {"PortLibrary", Small({40, 255, 0, "BuildWaveBriar"}), 0x0800},
    {"CardDecoder", Small({30, 255, 2, "BuildWaveLarchKaf", 100, 0xAAAA2}), 0, HangsAnywhere},
    {"CardCoprocessor", Small({28, 120, 2, "BuildWaveTarn5Ccd"}), 0, HangsAnywhere, Hour / 360,
     true},
    {"PortCardSerial", Small(PortCardSerial), 0, HangsAnywhere},
};

const Codes OpenCodes = {0, 1, 4, 9, 10, 11, 12, 13, 15, 17, 18, 19, 20, 24, 25, 26, 28};
const Codes MemoryCodes = {0, 9, 16, 22, 23}; // 22 and 23: of the pattern
const Codes FrameCodes = {0, 2, 9};

class FaultsOf : public FaultSweep, public testing::WithParamInterface<FaultyLink> {};

std::string NameOf(const testing::TestParamInfo<FaultyLink>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Links, FaultsOf, testing::ValuesIn(Links), NameOf);
INSTANTIATE_TEST_SUITE_P(Usb, FaultsOf, testing::ValuesIn(UsbLinks), NameOf);

} // namespace

TEST_P(FaultsOf, OpenAndLoadEndWithAKnownCode)
{
    Use(GetParam());
    if (HasFatalFailure()) return;
    for (const bool lasts : {false, true}) {
        EXPECT_GT(ForEveryCall({EmuAnyCall, Phase::Open, lasts}, OpenCodes), 0u);
    }
}

TEST_P(FaultsOf, LoadEnds)
{
    Use(GetParam());
    if (HasFatalFailure()) return;
    for (const bool lasts : {false, true}) ForEveryCall({EmuAnyCall, Phase::Load, lasts}, {});
}

TEST_P(FaultsOf, FrameEndsWithAKnownCode)
{
    Use(GetParam());
    if (HasFatalFailure()) return;
    for (const bool lasts : {false, true}) {
        EXPECT_GT(ForEveryCall({EmuAnyCall, Phase::Frame, lasts}, FrameCodes), 0u);
    }
}

// Memory that cannot be had ends an open or a frame, or is not noticed: then there is no
// pattern, and no pixel comes.
TEST_P(FaultsOf, WithoutMemoryTheyEndWithAKnownCode)
{
    Use(GetParam());
    if (HasFatalFailure()) return;
    for (const bool lasts : {false, true}) {
        ForEveryCall({EmuAllocate, Phase::Open, lasts}, MemoryCodes);
        ForEveryCall({EmuAllocate, Phase::Frame, lasts}, MemoryCodes);
        ForEveryCall({EmuDmaLock, Phase::Open, lasts}, MemoryCodes);
    }
}

// A link that is half dead: what is written is lost and reads are true, or the other way
// round.
TEST_P(FaultsOf, OneKindOfCallThatFailsForGoodEndsWithAKnownCode)
{
    Use(GetParam());
    if (HasFatalFailure()) return;
    for (const EmuCall call :
         {EmuDeviceControl, EmuRegisterRead, EmuRegisterWrite, EmuPortRead, EmuPortWrite,
          EmuUsbRead, EmuUsbWrite, EmuUsbSetting, EmuAdaptorCall}) {
        ForEveryCall({call, Phase::Open, true}, OpenCodes);
        ForEveryCall({call, Phase::Frame, true}, FrameCodes);
    }
}
