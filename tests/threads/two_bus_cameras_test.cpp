// Two bus cameras on two cards, each read by a thread of its own while the background
// service measures and regulates both: their frames are what they are alone.
#include <atomic>
#include <thread>

#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "tests/support/demo_camera.h"
#include "tests/support/virtual_camera.h"
#include "tests/threads/reader.h"

namespace {

// Lines by DMA, and whole frames.
constexpr VirtualSetup Briar = {42, 255, 2, "BuildWaveBriar", 100, 0, 0, Strobe::Position, 3, 0};
constexpr VirtualSetup R3 = {44, 255, 2, "BuildWaveR3", 200, 0, 0, Strobe::Bin, 3, 1};

class BusThreads : public VirtualCameraTest {
protected:
    int32_t buses[2] = {};

    void SetUp() override
    {
        ResetLibraryInRealTime();
        MakeDemoFolder();
    }

    void OpenWithService(const VirtualSetup& setup)
    {
        Plug(setup);
        buses[setup.camera] = bus;
        Open(setup, ReaderOptions);
        QV_SetTemp(-20.0, QV_CELSIUS, setup.camera);
    }
};

} // namespace

TEST_F(BusThreads, TwoCardsAreReadWhileTheServiceRegulatesBothCameras)
{
    OpenWithService(Briar);
    OpenWithService(R3);
    if (HasFatalFailure()) return;
    const std::vector<uint16_t> lines = Expected(Full(Briar, ReadRule::Lines, 1, 1), 0xAAAA);
    const std::vector<uint16_t> whole = Expected(Full(R3, ReadRule::WholeFrame, 1, 1), 0xAAAA);
    std::thread first(ReadFrames, lines, 0);
    std::thread second(ReadFrames, whole, 1);
    first.join();
    second.join();
    for (const int32_t camera : {0, 1}) {
        EXPECT_TRUE(EmuBusCoolerOn(buses[camera]));
        EXPECT_NEAR(QV_GetTemp(nullptr, QV_CELSIUS, camera), EmuBusTemperature(buses[camera]), 5.0);
        QV_Close(camera);
    }
}
