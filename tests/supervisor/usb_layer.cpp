#include "tests/supervisor/usb_layer.h"

#include "emulator/emulator.h"

void UsbLayerTest::SetUp()
{
    VirtualUsbTest::SetUp();
    StartInVirtualTime();
}

void UsbLayerTest::TearDown()
{
    EXPECT_EQ(qvns_stop(600.0), 0);
    VirtualUsbTest::TearDown();
}

QvnsOpen UsbLayerTest::Request(const UsbSetup& setup, uint32_t options)
{
    QvnsOpen open;
    qvns_init_open(&open);
    open.Config.Platform = setup.platform;
    open.Config.CCD = setup.sensor;
    open.Config.InterfaceType = UsbInterface;
    open.Config.Activity = static_cast<int32_t>(options);
    return open;
}

void UsbLayerTest::OpenCamera(const UsbSetup& setup, uint32_t options)
{
    Plug(setup);
    const QvnsOpen open = Request(setup, options);
    ASSERT_EQ(qvns_open(setup.camera, &open), 0);
}

void UsbLayerTest::ExpectGoodFrame(const UsbSetup& setup, int32_t hbin, int32_t vbin)
{
    const QvnsExposure exposure = Light(0.01);
    ASSERT_EQ(qvns_start_exposure(setup.camera, &exposure, nullptr), 0);
    ASSERT_EQ(qvns_wait(setup.camera, 0, 600.0), 0);
    const std::vector<uint16_t> wanted = Expected(Full(setup, hbin, vbin), 0);
    std::vector<uint16_t> pixels(wanted.size());
    ASSERT_EQ(qvns_fetch(setup.camera, 0, pixels.data(), pixels.size(), nullptr), 0);
    EXPECT_EQ(pixels, wanted);
}
