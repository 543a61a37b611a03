// Two cameras on USB, one that plays its pattern and one that is told its geometry, each
// read by a thread of its own while the background service measures and regulates both.
#include <chrono>
#include <thread>

#include "emulator/emulator.h"
#include "emulator/usb_camera.h"
#include "tests/support/demo_camera.h"
#include "tests/support/virtual_usb.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t LeastFrames = 5;
constexpr int32_t Options = QV_OPTION_REGULATION | QV_OPTION_SILENT;

constexpr UsbSetup HeronPlus = {61, 255, "BuildWaveHeronPlus"};
constexpr UsbSetup TolmE = {450, 3945, nullptr, Strobe::Bin, false, "0.5", 1};

class UsbThreads : public VirtualUsbTest {
protected:
    void SetUp() override
    {
        ResetLibraryInRealTime();
        MakeDemoFolder();
    }

    void OpenWithService(const UsbSetup& setup)
    {
        Plug(setup);
        Open(setup, Options);
        QV_SetTemp(-20.0, QV_CELSIUS, setup.camera);
    }

    // Reads until the service has had its turn too.
    static void ReadFrames(const std::vector<uint16_t>& wanted, int32_t camera)
    {
        const Clock::time_point end = Clock::now() + std::chrono::milliseconds(1500);
        int32_t frames = 0;
        while (frames < LeastFrames || Clock::now() < end) {
            std::vector<uint16_t> pixels(wanted.size(), 0xAAAA);
            QV_GetCCD(1, 0.002, pixels.data(), camera);
            EXPECT_EQ(QV_Status(camera), 0);
            ASSERT_EQ(pixels, wanted) << "frame " << frames << " of camera " << camera;
            ++frames;
        }
    }
};

} // namespace

TEST_F(UsbThreads, TwoCamerasAreReadWhileTheServiceRegulatesBoth)
{
    OpenWithService(HeronPlus);
    OpenWithService(TolmE);
    if (HasFatalFailure()) return;
    const std::vector<uint16_t> lines = Expected(Full(HeronPlus, 1, 1), 0xAAAA);
    const std::vector<uint16_t> whole = Expected(Full(TolmE, 1, 1), 0xAAAA);
    std::thread first(ReadFrames, lines, 0);
    std::thread second(ReadFrames, whole, 1);
    first.join();
    second.join();
    for (const int32_t camera : {0, 1}) {
        QV_Close(camera);
        EXPECT_TRUE(EmuUsbCoolerOn(camera));
        EXPECT_GE(EmuUsbCoolerPower(camera), 1228); // 30 percent, and up from there
        // One degree is the offset where there is no camera.cfg.
        EXPECT_NEAR(QV_GetTemp(nullptr, QV_CELSIUS, camera), EmuUsbTemperature(camera) + 1, 5.0);
    }
}
