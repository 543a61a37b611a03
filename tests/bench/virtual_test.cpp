// Virtual cameras through the exported functions of the workbench and the library.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/bench/virtual_fixture.h"

namespace {

// Pixel by pixel a driver drops the line that is half of the dummy lines, and one more: 3 rows
// unbinned (4 dummies), but 4 in bins of two (2 dummies). So the binned picture begins a row
// later than the whole one.
TEST_F(VirtualWorld, FramesAreTheSceneOnEveryKindOfLink)
{
    const struct {
        const char* text;
        int32_t firstBinnedRow;
    } rows[] = {
        {"platform=42,sensor=255", 0},
        {"platform=44,sensor=255,decoder=1", 0},
        {"platform=24,sensor=255,decoder=3", 0},
        {"platform=22,sensor=255", 1},
        {"platform=22,sensor=255,link=1,decoder=1", 1},
        {"platform=40,sensor=255", 1},
        {"platform=41,sensor=255", 1},
        {"platform=60,sensor=255", 1},
        {"platform=60,sensor=255,link=0", 1},
        {"platform=28,sensor=255", 0},
        {"platform=70,sensor=255", 0},
        {"platform=71,sensor=255", 0},
        {"platform=28,sensor=255,link=6", 1},
        {"platform=29,sensor=260", 0},
        {"platform=205,sensor=255", 0},
        {"platform=400,sensor=3945", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ASSERT_EQ(Install(std::string("time=virtual;") + row.text + ",scene=ramp"), 0) << error;
        EXPECT_EQ(error, "");
        Open(0);
        ASSERT_EQ(QV_Status(0), 0);
        EXPECT_EQ(Frame(1, 0), Ramp(1));
        QV_SetBinning(2, 2, 0);
        EXPECT_EQ(Frame(1, 0), Ramp(2, row.firstBinnedRow));
        QV_Close(0);
    }
}

TEST_F(VirtualWorld, DarkFramesAreDark)
{
    for (const char* text : {"platform=42,sensor=255", "platform=40,sensor=255"}) {
        SCOPED_TRACE(text);
        ASSERT_EQ(Install(std::string("time=virtual;") + text + ",scene=flat"), 0) << error;
        Open(0);
        EXPECT_EQ(Frame(0, 0), std::vector<uint16_t>(Columns * Rows, 0));
        QV_Close(0);
    }
}

// The first line of a transfer line by line gives up the last of its pixels to the second.
TEST_F(VirtualWorld, LineByLineTheRowsBehindTheFirstAreTheScene)
{
    const struct {
        const char* text;
        int32_t dropped;
    } rows[] = {
        {"platform=42,sensor=255,revision=100", 6},
        {"platform=61,sensor=255", 3},
        {"platform=200,sensor=255", 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ASSERT_EQ(Install(std::string("time=virtual;") + row.text + ",scene=ramp"), 0) << error;
        Open(0);
        const std::vector<uint16_t> pixels = Frame(1, 0);
        const std::vector<uint16_t> wanted = Ramp(1);
        const auto second = [&row](const std::vector<uint16_t>& all) {
            return std::vector<uint16_t>(all.begin() + Columns, all.end() - row.dropped);
        };
        EXPECT_EQ(second(pixels), second(wanted));
        QV_Close(0);
    }
}

// What the driver drops ahead of the image is missing at its end: of a stream whose converter is
// four cells and a word behind, five words, binned by two three.
TEST_F(VirtualWorld, TheEndOfAFrameThatIsTooShortIsDark)
{
    const struct {
        const char* text;
        ptrdiff_t missing, missingBinned;
        int32_t firstBinnedRow;
    } rows[] = {
        {"platform=300,sensor=255", 5, 3, 0},
        {"platform=450,sensor=3945", 5, 3, 0},
        {"platform=48,sensor=255", 3, 3, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ASSERT_EQ(Install(std::string("time=virtual;") + row.text + ",scene=ramp"), 0) << error;
        Open(0);
        std::vector<uint16_t> wanted = Ramp(1);
        std::fill(wanted.end() - row.missing, wanted.end(), uint16_t{0});
        EXPECT_EQ(Frame(1, 0), wanted);
        QV_SetBinning(2, 2, 0);
        wanted = Ramp(2, row.firstBinnedRow);
        std::fill(wanted.end() - row.missingBinned, wanted.end(), uint16_t{0});
        EXPECT_EQ(Frame(1, 0), wanted);
        QV_Close(0);
    }
}

TEST_F(VirtualWorld, SerialNumbersAreInMemoryOrInTheDevicesStrings)
{
    for (const char* text :
         {"platform=61,sensor=255", "platform=200,sensor=255", "platform=300,sensor=255",
          "platform=29,sensor=260", "platform=48,sensor=255", "platform=205,sensor=255",
          "platform=28,sensor=255,link=6"}) {
        SCOPED_TRACE(text);
        ASSERT_EQ(Install(std::string("time=virtual;") + text + ",serial=4711"), 0) << error;
        Open(0);
        EXPECT_EQ(QV_GetSerNum(0), 4711);
        QV_Close(0);
    }
}

TEST_F(VirtualWorld, CamerasHaveTheirOwnNumbersAndScenes)
{
    ASSERT_EQ(Install("platform=42,sensor=255,scene=flat;"
                      "platform=44,sensor=255,scene=dark,camera=3;platform=40,sensor=kaf400e,"
                      "address=0x278,time=virtual"),
              0);
    ASSERT_EQ(QVB_InstrumentCount(), 3);
    QvbInstrument instrument;
    ASSERT_EQ(QVB_Instrument(1, &instrument), 0);
    EXPECT_EQ(instrument.Camera, 3);
    EXPECT_EQ(instrument.Platform, 44);
    EXPECT_EQ(instrument.Sensor, 255);
    EXPECT_EQ(instrument.InterfaceType, QV_INTERFACE_PCI_CARD);
    EXPECT_EQ(instrument.InterfaceAddress, -1);
    EXPECT_STREQ(instrument.SceneFile, "");
    ASSERT_EQ(QVB_Instrument(2, &instrument), 0);
    EXPECT_EQ(instrument.Camera, 2);
    EXPECT_EQ(instrument.InterfaceType, QV_INTERFACE_PRINTER_PORT);
    EXPECT_EQ(instrument.InterfaceAddress, 0x278);
    for (int32_t index = 0; index < 3; ++index) Open(index);
    EXPECT_EQ(Frame(1, 0), std::vector<uint16_t>(Columns * Rows, 20000));
    EXPECT_EQ(Frame(1, 3), std::vector<uint16_t>(Columns * Rows, 0));
    EXPECT_EQ(QV_Status(2), 0);
}

// An array has the first card and, untold, the number whose heads are regulated.
TEST_F(VirtualWorld, ArraysHaveASceneForEachHead)
{
    ASSERT_EQ(Install("platform=42,sensor=255,heads=4,scene=flat,scene=./sky.fits,scene=ramp,"
                      "serial=70,time=virtual"),
              0);
    QvbInstrument instrument;
    ASSERT_EQ(QVB_Instrument(0, &instrument), 0);
    EXPECT_EQ(instrument.Heads, 4);
    EXPECT_EQ(instrument.Camera, 1);
    EXPECT_STREQ(instrument.SceneFile, "");
    char file[16] = "";
    EXPECT_EQ(QVB_HeadSceneFile(0, 1, file, sizeof file), 0);
    EXPECT_STREQ(file, "./sky.fits");
    EXPECT_EQ(QVB_HeadSceneFile(0, 3, file, sizeof file), 0);
    EXPECT_STREQ(file, "");
    const uint16_t level = 777;
    const QvbScene even = {&level, 1, 1};
    EXPECT_EQ(QVB_SetHeadScene(1, 1, &even), 0);

    const uint16_t config[4] = {0, 0xF, 0, 0};
    QV_OpenArray(config, 42, 255, 0, 0, instrument.Camera, nullptr, nullptr);
    ASSERT_EQ(QV_Status(1), 0);
    std::vector<uint16_t> frames[4];
    uint16_t* buffers[8] = {};
    for (int head = 0; head < 4; ++head) {
        frames[head].resize(Columns * Rows);
        buffers[head] = frames[head].data();
    }
    const double exposures[8] = {0.01, 0.02, 0.03, 0.04};
    QV_AGetCCD(1, exposures, buffers, 1);
    EXPECT_EQ(frames[0], std::vector<uint16_t>(Columns * Rows, 20000));
    EXPECT_EQ(frames[1], std::vector<uint16_t>(Columns * Rows, level));
    EXPECT_EQ(frames[2], Ramp(1));
    EXPECT_EQ(frames[3], Ramp(1));
    QV_Select(1);
    EXPECT_EQ(QV_GetSerNum(1), 71);
}

TEST_F(VirtualWorld, HeadsThatThereAreNotHaveNoScene)
{
    ASSERT_EQ(
        Install("platform=42,sensor=255,heads=2;platform=44,sensor=255,camera=2,time=virtual"), 0);
    char file[4] = "abc";
    EXPECT_EQ(QVB_HeadSceneFile(0, 2, file, sizeof file), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_HeadSceneFile(0, -1, file, sizeof file), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_HeadSceneFile(2, 0, file, sizeof file), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_HeadSceneFile(1, 1, file, sizeof file), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_HeadSceneFile(0, 0, nullptr, 4), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_HeadSceneFile(0, 0, file, 0), QVB_ERROR_ARGUMENT);
    EXPECT_STREQ(file, "abc");
    const uint16_t level = 1;
    const QvbScene even = {&level, 1, 1};
    EXPECT_EQ(QVB_SetHeadScene(1, 2, &even), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_SetHeadScene(1, -1, &even), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_SetHeadScene(1, 0, nullptr), QVB_ERROR_ARGUMENT);
}

// Only a wheel that is there has a zero position to be found.
TEST_F(VirtualWorld, WheelsAreThereForTheHost)
{
    const std::vector<std::pair<std::string, int32_t>> rows = {
        {"platform=42,wheel=8", 1},        {"platform=44,wheel=8", 1},
        {"platform=44,wheel=6", 2},        {"platform=44,wheel=nibble", 3},
        {"platform=44,wheel=byte", 4},     {"platform=48,wheel=firmware", 1},
        {"platform=200,wheel=nibble", 3},  {"platform=28,wheel=byte", 4},
        {"platform=300,wheel=firmware", 1}};
    for (const auto& [text, kind] : rows) {
        ASSERT_EQ(Install(text + ",sensor=255,time=virtual"), 0) << text << ": " << error;
        Open(0);
        EXPECT_EQ(QV_IsThereFW(0), kind) << text;
        QV_CalibFW(0);
        QV_SetFilter(3, 0);
        QV_CalibFW(0);
        EXPECT_EQ(QV_Status(0), 0) << text;
        QV_Close(0);
    }
    ASSERT_EQ(Install("platform=44,sensor=255,time=virtual"), 0);
    Open(0);
    EXPECT_EQ(QV_IsThereFW(0), 0);
    QV_CalibFW(0);
    EXPECT_EQ(QV_Status(0), 7);
}

TEST_F(VirtualWorld, StarsGoByTheSeed)
{
    std::vector<uint16_t> fields[3];
    const char* const seeds[] = {"7", "7", "8"};
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(Install(std::string("platform=42,sensor=255,time=virtual,seed=") + seeds[i]), 0);
        Open(0);
        fields[i] = Frame(1, 0);
        QV_Close(0);
    }
    EXPECT_EQ(fields[0], fields[1]);
    EXPECT_NE(fields[0], fields[2]);
}

// 12 x 8 pixels over 24 x 16: each is seen four times.
TEST_F(VirtualWorld, HostsGiveScenesOfTheirOwn)
{
    std::vector<uint16_t> picture(12 * 8);
    for (size_t i = 0; i < picture.size(); ++i) picture[i] = static_cast<uint16_t>(1000 + i);
    const QvbScene scene = {picture.data(), 12, 8};
    ASSERT_EQ(Install("platform=42,sensor=255,scene=./sky.fits,time=virtual"), 0);
    QvbInstrument instrument;
    ASSERT_EQ(QVB_Instrument(0, &instrument), 0);
    EXPECT_STREQ(instrument.SceneFile, "./sky.fits");
    Open(0);
    EXPECT_EQ(Frame(1, 0), std::vector<uint16_t>(Columns * Rows, 0));
    ASSERT_EQ(QVB_SetScene(0, &scene), 0);
    picture.assign(picture.size(), 0); // it was copied
    const std::vector<uint16_t> pixels = Frame(1, 0);
    for (size_t row = 0; row < Rows; ++row) {
        for (size_t column = 0; column < Columns; ++column) {
            ASSERT_EQ(pixels[row * Columns + column], 1000 + row / 2 * 12 + column / 2);
        }
    }
    EXPECT_EQ(QVB_SetScene(1, &scene), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_SetScene(-1, &scene), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_SetScene(0, nullptr), QVB_ERROR_ARGUMENT);
    const QvbScene tooWide = {picture.data(), 65536, 1};
    const QvbScene empty = {picture.data(), 0, 1};
    const QvbScene none = {nullptr, 1, 1};
    for (const QvbScene* wrong : {&tooWide, &empty, &none}) {
        EXPECT_EQ(QVB_SetScene(0, wrong), QVB_ERROR_ARGUMENT);
    }
}

TEST_F(VirtualWorld, CameraMemoryAndTemperatureAreThoseOfTheText)
{
    ASSERT_EQ(Install("platform=42,sensor=255,time=virtual,serial=4711,ambient=-7.5"), 0);
    Open(0);
    EXPECT_EQ(QV_GetSerNum(0), 4711);
    EXPECT_NEAR(QV_ReadTemp(QV_CELSIUS, 0), -7.5, 0.3);
}

// What the last open told of the converter's calibration.
struct {
    bool runs;
    std::vector<int32_t> percents;
    double began, ended;
} Calibration;

void NoteCalibration(const char* text, int32_t percent, int32_t)
{
    if (text != nullptr) Calibration.runs = std::string(text) == "Calibrating A/D";
    if (!Calibration.runs) return;
    if (text != nullptr) Calibration = {true, {}, QVB_Seconds(), 0.0};
    Calibration.percents.push_back(percent);
    Calibration.ended = QVB_Seconds();
}

// 200 rounds of 10 milliseconds, each tenth of which is told: 5, 10 and so on up to 95.
TEST_F(VirtualWorld, OpenOfTarn3TakesTwoSecondsForItsConverter)
{
    std::vector<int32_t> wanted;
    for (int32_t percent = 0; percent <= 100; percent += 5) wanted.push_back(percent);
    ASSERT_EQ(Install("time=virtual;platform=22,sensor=255"), 0);
    Calibration = {};
    QV_Open(22, 255, -1, QV_INTERFACE_PCI_CARD, 0, 0, 0, nullptr, NoteCalibration);
    ASSERT_EQ(QV_Status(0), 0);
    EXPECT_EQ(Calibration.percents, wanted);
    EXPECT_GE(Calibration.ended - Calibration.began, 2.0);
    EXPECT_LT(Calibration.ended - Calibration.began, 2.1);
}

TEST_F(VirtualWorld, FaultsEndInTheLibrarysCodes)
{
    const struct {
        const char* text;
        int32_t code;
    } rows[] = {
        {"fault=no-driver", 13},
        {"fault=device-open:1", 13},
        {"fault=dma-lock:1:lasts", 9},
        {"state=locked", 4},
        {"camera=1", 15},
        {"state=unlinked,decoder=1", 10},
        {"fault=any:1", 13},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ASSERT_EQ(Install(std::string("time=virtual;platform=44,sensor=255,") + row.text), 0);
        QvbInstrument instrument;
        QVB_Instrument(0, &instrument);
        CameraConfig config;
        QV_InitCfg(&config);
        config.InterfaceLink = instrument.InterfaceLink;
        QV_InitOptions(&config, 0);
        QV_Open(44, 255, -1, 2, 0, 0, 0, nullptr, nullptr);
        EXPECT_EQ(QV_Status(0), row.code);
        QV_Close(0);
    }
}

TEST_F(VirtualWorld, AStalledLinkEndsTheFrameWithItsCode)
{
    for (const char* text : {"platform=42,sensor=255", "platform=300,sensor=255",
                             "platform=61,sensor=255", "platform=29,sensor=260"}) {
        SCOPED_TRACE(text);
        ASSERT_EQ(Install(std::string(text) + ",time=virtual,state=stalls:100"), 0);
        Open(0);
        EXPECT_EQ(QV_Status(0), 0);
        std::vector<uint16_t> pixels(Columns * Rows);
        QV_GetCCD(1, 0.1, pixels.data(), 0);
        EXPECT_EQ(QV_Status(0), 2);
        QV_Close(0);
    }
}

TEST_F(VirtualWorld, UsbFaultsEndInTheLibrarysCodes)
{
    const struct {
        const char* text;
        int32_t code;
    } rows[] = {
        {"platform=300,sensor=255,fault=no-usb-library", 17}, //
        {"platform=300,sensor=255,fault=usb-list:1", 17},     //
        {"platform=300,sensor=255,fault=usb-open:1", 18},     //
        {"platform=300,sensor=255,state=off", 18},            //
        {"platform=300,sensor=255,camera=1", 18},             //
        {"platform=300,sensor=255,fault=usb-read:1", 1},      //
        {"platform=28,sensor=255,link=6,fault=no-adaptor-library", 20},
        {"platform=28,sensor=255,link=6,fault=adaptor-call:1", 18},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ASSERT_EQ(Install(std::string("time=virtual;") + row.text), 0) << error;
        QvbInstrument instrument;
        QVB_Instrument(0, &instrument);
        EXPECT_EQ(instrument.InterfaceType, QV_INTERFACE_USB);
        QV_Open(instrument.Platform, instrument.Sensor, -1, instrument.InterfaceType, 0, 0, 0,
                nullptr, nullptr);
        EXPECT_EQ(QV_Status(0), row.code);
        QV_Close(0);
    }
}

TEST_F(VirtualWorld, PortsMayBeRefused)
{
    ASSERT_EQ(Install("platform=40,sensor=255,fault=refused-ports,time=virtual"), 0);
    Open(0);
    EXPECT_NE(QV_Status(0), 0);
}

TEST_F(VirtualWorld, TextsThatAreWrongNameTheKeyAndWhatIsAllowed)
{
    ExpectRefused("", "is not KEY=VALUE");
    ExpectRefused("platform", "\"platform\" is not KEY=VALUE");
    ExpectRefused("colour=red", "\"colour\": no such key; there are platform, sensor");
    ExpectRefused("sensor=255,platform=42", "sensor: comes behind the platform=");
    ExpectRefused("platform=42;sensor=255", "sensor: comes behind the platform=");
    ExpectRefused("time=virtual", "platform: missing");
    ExpectRefused("platform=", "platform: \"\" is not a platform's code or name");
    ExpectRefused("platform=99", "platform: \"99\" is not");
    ExpectRefused("platform=42,sensor=-1", "sensor: \"-1\" is not");
    ExpectRefused("platform=42,sensor=255,sensor=250", "sensor: given twice");
    ExpectRefused("platform=42,sensor=99999999999999999999", "sensor: ");
    ExpectRefused("platform=42,camera=8", "camera: \"8\" is not a camera number, 0 to 7");
    ExpectRefused("platform=42,decoder=2", "decoder: \"2\" is not");
    ExpectRefused("platform=42,revision=65536", "revision: ");
    ExpectRefused("platform=42,heads=0", "heads: \"0\" is not a number of heads, 1 to 8");
    ExpectRefused("platform=42,heads=9", "heads: ");
    ExpectRefused("platform=42,wheel=7",
                  "wheel: \"7\" is not none, 8, 6, nibble, byte or firmware");
    ExpectRefused("platform=42,ambient=nan", "ambient: \"nan\" is not");
    ExpectRefused("platform=42,ambient=61", "-50 to 60");
    ExpectRefused("platform=42,ambient=20x", "ambient: ");
    ExpectRefused("platform=42,seed=4294967296", "seed: ");
    ExpectRefused("platform=42,scene=moon", "stars, flat, ramp, dark");
    ExpectRefused("platform=42,state=sad", "state: \"sad\" is not off, locked");
    ExpectRefused("platform=42,state=stalls:", "state: ");
    ExpectRefused("platform=42,time=slow", "time: \"slow\" is not real or virtual");
    ExpectRefused("platform=42,time=real,time=real", "time: given twice");
    ExpectRefused("platform=42,fault=device-open", "fault: \"device-open\" is not");
    ExpectRefused("platform=42,fault=device-open:0", "fault: ");
    ExpectRefused("platform=42,fault=fire:1", "one of allocate");
    ExpectRefused("platform=42,fault=any:1:last", "fault: ");
    ExpectRefused("platform=42,", "\"\" is not KEY=VALUE");
}

TEST_F(VirtualWorld, InstrumentsThatCannotBeAreRefusedByName)
{
    ExpectRefused("platform=DEMO", "platform: there is no virtual instrument of 1 DEMO yet; "
                                   "there are 22,");
    ExpectRefused("platform=300,sensor=255,address=0x378", "address: USB has none");
    ExpectRefused("platform=42,sensor=255,link=6", "it has 2, 4");
    ExpectRefused("platform=42,sensor=2000", "does not carry 2000 ");
    ExpectRefused("platform=42,sensor=255,link=0", "42 BRIAR-PCI has no link of kind 0; it has 2");
    ExpectRefused("platform=42,sensor=255,decoder=1", "decoder: 42 BRIAR-PCI has no serial");
    ExpectRefused("platform=42,sensor=255,address=0x378", "address: the card needs none");
    ExpectRefused("platform=42,sensor=255,camera=1;platform=44,sensor=255",
                  "camera: number 1 has two instruments");
    ExpectRefused("platform=40,sensor=255;platform=40,sensor=255", "16 apart");
    ExpectRefused("platform=47,sensor=255,heads=2", "heads: 47 R3-PLUS has no arrays");
    ExpectRefused("platform=42,sensor=255,wheel=6",
                  "wheel: 42 BRIAR-PCI does not have 6; it has none, 8");
    ExpectRefused("platform=205,sensor=255,wheel=nibble",
                  "wheel: 205 OSPREY_Plus does not have nibble; it has none");
    ExpectRefused("platform=42,sensor=255,heads=2;platform=44,sensor=255,camera=0",
                  "heads: an array has the first card");
    ExpectRefused("platform=42,sensor=255,heads=2;platform=44,sensor=255,heads=2,camera=4",
                  "heads: an array has the first card");
    ExpectRefused("platform=42,sensor=255,scene=dark,scene=flat", "scene: given 2 times");
    ExpectRefused("platform=42,sensor=255,heads=2,scene=dark,scene=flat,scene=ramp",
                  "scene: given 3 times, for heads=2");
    std::string nine = "platform=42,sensor=255";
    for (int i = 1; i < 9; ++i) nine += ";platform=42,sensor=255";
    ExpectRefused(nine, "room for 8 instruments");
}

TEST_F(VirtualWorld, MissingDefinitionsAreTold)
{
    EXPECT_EQ(Install("platform=42,sensor=250"), QVB_ERROR_DEFINITION);
    EXPECT_NE(error.find("42 BRIAR-PCI with sensor 250"), std::string::npos) << error;
    std::filesystem::remove(folder / "qvn.cfg");
    EXPECT_EQ(Install("platform=42,sensor=255"), 5);
    EXPECT_NE(error.find("Platform definition not found"), std::string::npos) << error;
}

TEST_F(VirtualWorld, LongTextsAreShownShortAndFitTheirRoom)
{
    const std::string text = "platform=42,sensor=" + std::string(100000, 'x') + "\n\x01";
    EXPECT_EQ(Install(text), QVB_ERROR_SPEC);
    EXPECT_LT(error.size(), 200u);
    char room[8];
    memset(room, 'z', sizeof room);
    EXPECT_EQ(QVB_Install("\x01\n", room, 5), QVB_ERROR_SPEC);
    EXPECT_STREQ(room, "\"?\?\"");
    EXPECT_EQ(room[5], 'z');
    EXPECT_EQ(QVB_Install("x", nullptr, 100), QVB_ERROR_SPEC);
    EXPECT_EQ(QVB_Install("x", room, 0), QVB_ERROR_SPEC);
    EXPECT_EQ(QVB_Install(nullptr, room, sizeof room), QVB_ERROR_ARGUMENT);
}

TEST_F(VirtualWorld, TextsMayStandInAFile)
{
    std::ofstream(folder / "lab.txt") << "# two cameras\r\n\n  time=virtual\nplatform=42\n"
                                         "sensor=255\r\nscene=a,b;c.fits\nplatform=44\nsensor=255";
    ASSERT_EQ(Install("@" + Path("lab.txt")), 0) << error;
    ASSERT_EQ(QVB_InstrumentCount(), 2);
    QvbInstrument instrument;
    QVB_Instrument(0, &instrument);
    EXPECT_STREQ(instrument.SceneFile, "a,b;c.fits");
    EXPECT_EQ(QVB_TimeIsVirtual(), 1);
    ASSERT_EQ(QVB_Uninstall(), 0);

    std::ofstream(folder / "wrong.txt") << "platform=42\n\nsensor=red\n";
    ExpectRefused("@" + Path("wrong.txt"), "wrong.txt, line 3: sensor: \"red\"");
    std::ofstream(folder / "empty.txt") << "";
    ExpectRefused("@" + Path("empty.txt"), "platform: missing");
    std::ofstream(folder / "long.txt") << std::string(65537, '\n');
    ExpectRefused("@" + Path("long.txt"), "longer than 65536");
    std::ofstream(folder / "zero.txt") << std::string("platform=42\0,", 13);
    ExpectRefused("@" + Path("zero.txt"), "platform: \"42?,\"");
    ExpectRefused("@" + Path("none.txt"), "No such file");
    ExpectRefused("@" + folder.string(), "cannot be read");
    ExpectRefused("@", "No such file");
}

TEST_F(VirtualWorld, AWorldIsNotChangedUnderAnOpenCamera)
{
    ASSERT_EQ(Install("platform=42,sensor=255,time=virtual"), 0);
    Open(0);
    EXPECT_EQ(Install("platform=44,sensor=255"), QVB_ERROR_CAMERA_OPEN);
    EXPECT_EQ(error, "a camera is open");
    EXPECT_EQ(QVB_Uninstall(), QVB_ERROR_CAMERA_OPEN);
    EXPECT_EQ(QVB_InstrumentCount(), 1);
    EXPECT_EQ(Frame(1, 0).size(), size_t{Columns * Rows});
}

TEST_F(VirtualWorld, AWrongTextLeavesTheWorldAsItIs)
{
    ASSERT_EQ(Install("platform=42,sensor=255,time=virtual,scene=flat"), 0);
    EXPECT_EQ(Install("platform=44,sensor=red"), QVB_ERROR_SPEC);
    EXPECT_EQ(QVB_InstrumentCount(), 1);
    Open(0);
    EXPECT_EQ(Frame(1, 0)[0], 20000);
}

TEST_F(VirtualWorld, UninstallingBringsBackTheOperatingSystem)
{
    ASSERT_EQ(Install("platform=42,sensor=255,time=virtual"), 0);
    ASSERT_EQ(QVB_Uninstall(), 0);
    EXPECT_EQ(QVB_InstrumentCount(), 0);
    EXPECT_EQ(QVB_TimeIsVirtual(), 0);
    QvbInstrument instrument;
    EXPECT_EQ(QVB_Instrument(0, &instrument), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_Uninstall(), 0);
    const double before = QVB_Seconds();
    QV_Delay(2);
    EXPECT_GE(QVB_Seconds() - before, 0.002);
}

TEST_F(VirtualWorld, VirtualTimeGoesOnWithinCalls)
{
    ASSERT_EQ(Install("platform=42,sensor=255,time=virtual"), 0);
    EXPECT_EQ(QVB_TimeIsVirtual(), 1);
    const double before = QVB_Seconds();
    EXPECT_EQ(QVB_Seconds(), before);
    QV_Delay(3600000);
    EXPECT_EQ(QVB_Seconds(), before + 3600);
}

TEST_F(VirtualWorld, RealTimeTakesItsTime)
{
    ASSERT_EQ(Install("platform=42,sensor=255,scene=ramp"), 0);
    EXPECT_EQ(QVB_TimeIsVirtual(), 0);
    Open(0);
    const double before = QVB_Seconds();
    EXPECT_EQ(Frame(1, 0), Ramp(1)); // of 0.1 seconds
    EXPECT_GE(QVB_Seconds() - before, 0.1);
}

TEST_F(VirtualWorld, ATraceHasTheTrafficUntilTheWorldEnds)
{
    ASSERT_EQ(QVB_Trace(Path("trace.txt").c_str()), 0);
    ASSERT_EQ(Install("platform=42,sensor=255,time=virtual"), 0);
    Open(0);
    QV_Close(0);
    ASSERT_EQ(QVB_Uninstall(), 0);
    ASSERT_EQ(Install("platform=42,sensor=255,time=virtual"), 0);
    Open(0);
    const std::string text = TextOf("trace.txt");
    EXPECT_EQ(text.rfind("card open\n", 0), 0u);
    const std::string end = "card unlock\ncard close\n";
    ASSERT_GE(text.size(), end.size());
    EXPECT_EQ(text.substr(text.size() - end.size()), end);
    EXPECT_EQ(text.find("stray"), std::string::npos);
    EXPECT_EQ(QVB_Trace((folder / "no" / "where").c_str()), QVB_ERROR_TRACE_FILE);
    EXPECT_EQ(QVB_Trace(nullptr), 0);
}

TEST_F(VirtualWorld, ATraceThatDoesNotFitTheDiskIsTold)
{
    ASSERT_EQ(Install("platform=42,sensor=255,time=virtual"), 0);
    ASSERT_EQ(QVB_Trace("/dev/full"), 0);
    Open(0);
    QV_Close(0);
    EXPECT_EQ(QVB_Uninstall(), QVB_ERROR_TRACE_FILE);
    EXPECT_EQ(QVB_InstrumentCount(), 0);
}

} // namespace
