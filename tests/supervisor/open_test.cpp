// Start and stop, open and close, settings, and what is refused.
#include <cstring>

#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "tests/supervisor/usb_layer.h"
#include "tests/support/demo_camera.h"

namespace {

using Opening = LayerTest;

void SetSerial(int32_t bus, uint16_t low)
{
    EmuBusSetMemoryWord(bus, 7, 0);
    EmuBusSetMemoryWord(bus, 8, low);
}

void* FindNothing(const char*, void*)
{
    return nullptr;
}

int32_t Read(int32_t camera, void* context)
{
    *static_cast<uint32_t*>(context) = QV_GetMode(camera);
    return 5;
}

} // namespace

TEST_F(Opening, ReturnsTheCodesOfTheLibrary)
{
    QvnsOpen open = Request(BriarCamera);
    Plug(BriarCamera);
    EmuBusPower(bus, false);
    EXPECT_EQ(qvns_open(0, &open), QV_ERROR_CAMERA_NOT_FOUND);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_CLOSED);
    EmuBusPower(bus, true);
    open.Config.Platform = DriverlessPlatform;
    EXPECT_NE(qvns_open(0, &open), 0);
    open = Request(BriarCamera);
    RemoveDefinitions();
    EXPECT_EQ(qvns_open(0, &open), QV_ERROR_PLATFORM_DEFINITION);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_CLOSED);
}

TEST_F(Opening, PatternThatCannotBeWrittenIsNoOpenCamera)
{
    Plug(BriarCamera);
    const QvnsOpen open = Request(BriarCamera);
    const std::string wave = DemoFolder() + "wave.bin";
    ASSERT_EQ(system(("mkdir -p " + wave + "/full").c_str()), 0);
    EXPECT_EQ(qvns_open(0, &open), QV_ERROR_PATTERN_FILE);
    EXPECT_EQ(QV_IsOn(0), 0);
    ASSERT_EQ(system(("rm -r " + wave).c_str()), 0);
    EXPECT_EQ(qvns_open(0, &open), 0);
}

TEST_F(Opening, TwiceIsRefusedAndClosedItIsNotThere)
{
    EXPECT_EQ(qvns_close(0, 0.0), QVNS_ERROR_NOT_OPEN);
    EXPECT_EQ(qvns_abort(0, 0.0), QVNS_ERROR_NOT_OPEN);
    OpenCamera();
    const QvnsOpen open = Request(BriarCamera);
    EXPECT_EQ(qvns_open(0, &open), QVNS_ERROR_ALREADY_OPEN);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    EXPECT_EQ(qvns_close(0, 0.0), 0);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_CLOSED);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(qvns_open(0, &open), 0);
}

// The background service of the library would hold all cameras for one.
TEST_F(Opening, LibraryIsGivenNoServiceOfItsOwn)
{
    OpenCamera(BriarCamera, QV_OPTION_SERVICE | QV_OPTION_REGULATION | QV_OPTION_KEEP_CLEAN |
                                QV_OPTION_EXTERNAL_TRIGGER | QV_OPTION_SILENT |
                                QV_OPTION_LIMIT_COOLER);
    EXPECT_EQ(QV_GetMode(0), QV_OPTION_LIMIT_COOLER);
    EXPECT_EQ(EmuTimersRunning(), 0u);
    const QvnsExposure exposure = Light(0.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 1.0), QVNS_ERROR_TIME);
    EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_TRIGGER);
}

TEST_F(Opening, IdleSensorIsClearedTwiceASecond)
{
    OpenCamera();
    qvns_idle(5.0);
    const int32_t readings = TemperatureOf(0).Readings;
    EXPECT_GE(readings, 10);
    EXPECT_LE(readings, 11);
}

TEST_F(Opening, SettingsReachTheCamera)
{
    OpenCamera();
    EXPECT_EQ(qvns_set_gain(0, 3, 0.0), 0);
    EXPECT_EQ(QV_GetGain(0), 3);
    EXPECT_EQ(qvns_set_binning(0, 2, 3, 0.0), 0);
    int32_t hbin = 0, vbin = 0;
    QV_GetBinning(&hbin, &vbin, 0);
    EXPECT_EQ(hbin, 2);
    EXPECT_EQ(vbin, 3);
    EXPECT_EQ(qvns_clear(0, 0.0), 0);
    EXPECT_EQ(qvns_set_filter(0, 1, 0.0), QVNS_ERROR_ARGUMENT); // no wheel
    uint32_t mode = 99;
    EXPECT_EQ(qvns_run(0, Read, &mode, 0.0, 0.0), 5);
    EXPECT_EQ(mode, 0u);
}

TEST_F(Opening, WrongArgumentsAreRefused)
{
    OpenCamera();
    EXPECT_EQ(qvns_set_gain(0, -1, 0.0), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_set_gain(0, 4, 0.0), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_set_binning(0, 0, 1, 0.0), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_set_fan(0, 100.5, 0.0), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_run(0, nullptr, nullptr, 0.0, 0.0), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_open(1, nullptr), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_state(0, nullptr), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_start_exposure(0, nullptr, nullptr), QVNS_ERROR_ARGUMENT);
    for (const int32_t camera : {-1, 8, INT32_MIN, INT32_MAX}) {
        QvnsState state = {};
        const QvnsExposure exposure = Light(1.0);
        EXPECT_EQ(qvns_state(camera, &state), QVNS_ERROR_ARGUMENT);
        EXPECT_EQ(qvns_close(camera, 0.0), QVNS_ERROR_ARGUMENT);
        EXPECT_EQ(qvns_abort(camera, 0.0), QVNS_ERROR_ARGUMENT);
        EXPECT_EQ(qvns_start_exposure(camera, &exposure, nullptr), QVNS_ERROR_ARGUMENT);
        EXPECT_EQ(qvns_ready(camera, 0), 0);
    }
}

TEST_F(Opening, SecondStartAndUnknownModesAreRefused)
{
    QvnsStart start;
    qvns_init_start(&start);
    EXPECT_EQ(qvns_start(&start), QVNS_ERROR_BUSY);
    EXPECT_EQ(qvns_stop(1.0), 0);
    EXPECT_EQ(qvns_stop(1.0), QVNS_ERROR_NOT_STARTED);
    const QvnsOpen open = Request(BriarCamera);
    EXPECT_EQ(qvns_open(0, &open), QVNS_ERROR_NOT_STARTED);
    EXPECT_EQ(qvns_close(0, 0.0), QVNS_ERROR_NOT_STARTED);
    start.Mode = 2;
    EXPECT_EQ(qvns_start(&start), QVNS_ERROR_ARGUMENT);
    start.Mode = QVNS_CALLER;
    start.Find = FindNothing;
    EXPECT_EQ(qvns_start(&start), QVNS_ERROR_LIBRARY);
    StartInVirtualTime();
}

TEST_F(Opening, EveryCodeHasATextAndNoTwoTheSame)
{
    for (int32_t code = QVNS_ERROR_LIBRARY; code <= QVNS_ERROR_ARGUMENT; ++code) {
        EXPECT_STRNE(qvns_error_text(code), "") << code;
        for (int32_t other = code + 1; other <= QVNS_ERROR_ARGUMENT; ++other) {
            EXPECT_STRNE(qvns_error_text(code), qvns_error_text(other));
        }
    }
    EXPECT_STREQ(qvns_error_text(2), QV_ErrorMessage(2));
    for (const int32_t code : {-1, -100, -117, 29, INT32_MIN, INT32_MAX}) {
        EXPECT_STREQ(qvns_error_text(code), "") << code;
    }
}

// Many of a kind, on a card each: whichever card the camera is on. The last two numbers lead to
// the same.
TEST_F(Opening, SerialNumberFindsTheCameraWhereverItIs)
{
    for (int32_t number = 0; number < QV_CAMERAS - 1; ++number) {
        VirtualSetup setup = BriarCamera;
        setup.camera = number;
        Plug(setup);
        SetSerial(bus, static_cast<uint16_t>(1001 + number));
    }
    EmuCard last;
    last.deviceId = 2000; // that of number 7
    EmuPlugCard(last, bus);
    QvnsOpen open = Request(BriarCamera);
    int32_t camera = -1;
    EXPECT_EQ(qvns_open_serial(1009, &open, &camera), QVNS_ERROR_SERIAL);
    EXPECT_EQ(camera, -1);
    ASSERT_EQ(qvns_open_serial(1003, &open, &camera), 0);
    EXPECT_EQ(camera, 2);
    EXPECT_EQ(StateOf(2).Serial, 1003);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_CLOSED);
    ASSERT_EQ(qvns_open_serial(1001, &open, &camera), 0);
    EXPECT_EQ(camera, 0);
    EXPECT_EQ(qvns_open_serial(1001, &open, &camera), QVNS_ERROR_SERIAL); // in use
    EXPECT_EQ(qvns_open_serial(-1, &open, &camera), QVNS_ERROR_ARGUMENT);
}
