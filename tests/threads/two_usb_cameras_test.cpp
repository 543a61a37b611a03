// Two cameras on USB, one that plays its pattern and one that is told its geometry, each
// read by a thread of its own while the background service measures and regulates both.
#include <thread>

#include "emulator/emulator.h"
#include "emulator/usb_camera.h"
#include "tests/support/demo_camera.h"
#include "tests/support/virtual_usb.h"
#include "tests/threads/reader.h"

namespace {

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
        Open(setup, ReaderOptions);
        QV_SetTemp(-20.0, QV_CELSIUS, setup.camera);
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
