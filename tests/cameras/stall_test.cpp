// A camera whose pixels stop in the middle of a frame, on each link and by each form.
#include <algorithm>

#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "tests/support/families.h"
#include "tests/support/virtual_camera.h"

namespace {

struct StallCase {
    const char* name;
    VirtualSetup setup;
    ReadRule rule;
};

void PrintTo(const StallCase& c, std::ostream* out)
{
    *out << c.name;
}

class Stall : public VirtualCameraTest, public testing::WithParamInterface<StallCase> {};

std::string CaseName(const testing::TestParamInfo<StallCase>& info)
{
    return info.param.name;
}

constexpr uint32_t Never = 0xFFFFFFFF;

} // namespace

TEST_P(Stall, IsErrorTwoInsideTheBufferAndTheNextFrameIsWhole)
{
    const StallCase& c = GetParam();
    Plug(c.setup);
    Open(c.setup);
    constexpr size_t count = size_t{ImageColumns} * ImageRows;
    for (const uint32_t stopsAt : {0u, 1u, 101u, 300u}) {
        SCOPED_TRACE(stopsAt);
        std::vector<uint16_t> buffer(count + 16, 0xBEEF);
        EmuBusMute(bus, stopsAt);
        const uint64_t begin = EmuMicroseconds();
        QV_GetCCD(1, 0.01, buffer.data() + 8, 0);
        EXPECT_EQ(QV_Status(0), 2);
        EXPECT_LT(EmuMicroseconds() - begin, 10'000'000u) << "no form waits for ever";
        EXPECT_EQ(std::count(buffer.begin(), buffer.begin() + 8, 0xBEEF), 8);
        EXPECT_EQ(std::count(buffer.end() - 8, buffer.end(), 0xBEEF), 8);
        EmuBusMute(bus, Never);
        QV_ClearCCD(0);
        QV_StartNow(0);
        ExpectFrame(Full(c.setup, c.rule, 1, 1));
    }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Links, Stall,
    testing::Values(
        StallCase{"PrinterPort",     OnBus({40, 0}),               ReadRule::Pixels},
        StallCase{"PortCard",        OnBus({41, 1}),               ReadRule::Pixels},
        StallCase{"SerialPortCard",  OnBus({22, 1, 100, 0, 1}),    ReadRule::Pixels},
        StallCase{"CardByPixels",    OnBus({22}),                  ReadRule::Pixels},
        StallCase{"ByteCable",       OnBus({60}),                  ReadRule::Pixels},
        StallCase{"CardByLines",     OnBus({44}),                  ReadRule::Lines},
        StallCase{"CardAsAWhole",    OnBus({44, 2, 200}),          ReadRule::WholeFrame},
        StallCase{"SerialByLines",   OnBus({44, 2, 100, 0xAAAA2}), ReadRule::Lines},
        StallCase{"SerialAsAWhole",  OnBus({44, 2, 200, 0xAAAA2}), ReadRule::WholeFrame},
        StallCase{"CountedLines",    OnBus({70, 70}),              ReadRule::Counted},
        StallCase{"CountedAsAWhole", OnBus({71, 70, 200}),         ReadRule::Counted}),
    CaseName);
// clang-format on
