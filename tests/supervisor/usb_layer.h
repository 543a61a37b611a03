// The layer over virtual cameras on USB, in virtual time.
#pragma once
#include "include/qvn_supervisor.h"
#include "tests/supervisor/layer.h"
#include "tests/support/virtual_usb.h"

inline constexpr UsbSetup TolmECamera = {450, 3945};
inline constexpr UsbSetup HeronPlusCamera = {61, 255, "BuildWaveHeronPlus"};

class UsbLayerTest : public VirtualUsbTest {
protected:
    void SetUp() override;
    void TearDown() override;
    // Plugs a camera and opens it through the layer.
    void OpenCamera(const UsbSetup& setup, uint32_t options = 0);
    static QvnsOpen Request(const UsbSetup& setup, uint32_t options = 0);
    // A full frame with the binning as it is, which must be right.
    static void ExpectGoodFrame(const UsbSetup& setup, int32_t hbin = 1, int32_t vbin = 1);
};
