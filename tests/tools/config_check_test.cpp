// qvn config check. The files are small ones, so that every line can be counted.
#include "tests/tools/fixture.h"

namespace {

// Line 1 is the root group; the sensor's begins in line 4, the platform's in 14, the pair's in 20.
constexpr char Definitions[] = "rmk_camera_library:\n"                              // 1
                               "{\n"                                                // 2
                               "  ccd_definitions: {\n"                             // 3
                               "    kaf400e: {\n"                                   // 4
                               "      Manufacturer = 20; Xpix = 768; Ypix = 512;\n" // 5
                               "      XpixDim = 9.0; YpixDim = 9.0;\n"              // 6
                               "      Xarea = 6.9; Yarea = 4.6;\n"                  // 7
                               "      Dummy = [ 4, 2, 2, 1 ];\n"                    // 8
                               "      HorDummyPix = 10; HorRegSize = 800;\n"        // 9
                               "      Antiblooming = 0; MultipleOutput = 1;\n"      // 10
                               "      Shutter = 1; FWC = 1e5; CCF = 10.0;\n"        // 11
                               "    };\n"                                           // 12
                               "  }; camera_platforms: {\n"                         // 13
                               "    BRIAR-R3: {\n"                                  // 14
                               "      ADbit = [ 16, 0 ]; TimeBase = 40.0;\n"        // 15
                               "      FpgaId = 42;\n"                               // 16
                               "      ADclock = 1.0;\n"                             // 17
                               "      NumberOfGains = 4;\n"                         // 18
                               "      AntiBloomingTimer = 0;\n"                     // 19
                               "      kaf400e: {\n"                                 // 20
                               "        AmplifierDelay = 1.0;\n"                    // 21
                               "        SamplingClock = [ 0.5, 0.5 ];\n"            // 22
                               "        VerticalPhasePeriod = 5;\n"                 // 23
                               "        Gain = [ 1.0, 2.0, 4.0, 8.0 ];\n"           // 24
                               "      };\n"                                         // 25
                               "    };\n"                                           // 26
                               "  };\n"                                             // 27
                               "};\n";

constexpr char Camera[] = "CameraConfig: {\n"                                        // 1
                          "  AD = 0; Platform = 44; CCD = 255; InterfaceType = 2;\n" // 2
                          "  InterfaceAddress = -1; CameraAddress = 0;\n"            // 3
                          "  PciIndex = 0; InterfaceLink = 0; FilterWheel = 0;\n"    // 4
                          "  FilterWheelPortAddress = 0; FilterWheelPortType = 0;\n" // 5
                          "  ShutterType = 0; ShutterHisteresys = 10;\n"             // 6
                          "  CcdOutput = 0; CcdTechnology = 1; CcdBackFront = 0;\n"  // 7
                          "  Process = 0; DefectiveList = \"\"; Activity = 0;\n"     // 8
                          "  LongCable = 0; TemperatureOffset = 0.0;\n"              // 9
                          "  TemperatureSpan = 1.0;\n"                               // 10
                          "};\n";

struct Change {
    const char *from, *to;
    std::string complaint; // the whole line behind the file's name; empty: none
};

std::string With(const std::string& text, const Change& change)
{
    const size_t at = text.find(change.from);
    EXPECT_NE(at, std::string::npos) << change.from;
    return std::string(text).replace(at, std::string(change.from).size(), change.to);
}

struct ConfigCheck : QvnProgram {
    void ExpectComplaint(const char* text, const Change& change)
    {
        WriteText(scratch, "f.cfg", With(text, change));
        const ProgramResult result = Run({"config", "check", "f.cfg"});
        EXPECT_EQ(result.out, "f.cfg:" + change.complaint + "\n") << result.err;
        EXPECT_EQ(result.exitCode, 1) << change.from;
    }
};

const std::string Sensor = "rmk_camera_library.ccd_definitions.kaf400e.";
const std::string Platform = "rmk_camera_library.camera_platforms.BRIAR-R3.";
const std::string Pair = Platform + "kaf400e.";

} // namespace

TEST_F(ConfigCheck, CompleteFilesGiveNoComplaint)
{
    for (const char* text : {Definitions, Camera}) {
        WriteText(scratch, "f.cfg", text);
        const ProgramResult result = Run({"config", "check", "f.cfg"});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.out, "f.cfg: no complaint\n");
    }
}

TEST_F(ConfigCheck, TheSampleFilesGiveNoComplaint)
{
    ASSERT_TRUE(CopySampleFiles(scratch, "sky"));
    for (const char* file : {"sky/qvn.cfg", "sky/camera.cfg"}) {
        const ProgramResult result = Run({"config", "check", file});
        EXPECT_EQ(result.exitCode, 0) << result.out;
    }
}

TEST_F(ConfigCheck, MissingKeysHaveTheLineOfTheirGroup)
{
    ExpectComplaint(
        Definitions,
        {"Ypix = 512;", "", "4: " + Sensor + "Ypix: missing, it reads as 0; 1 to 32767, rows"});
    ExpectComplaint(Definitions, {"FpgaId = 42;", "",
                                  "14: " + Platform +
                                      "FpgaId: missing, it reads as 0; 0 to 32767, version of "
                                      "the camera"});
    ExpectComplaint(Definitions, {"VerticalPhasePeriod = 5;", "",
                                  "20: " + Pair +
                                      "VerticalPhasePeriod: missing, it reads as 0; 1 to 65535, "
                                      "microseconds or words"});
    ExpectComplaint(Camera, {"PciIndex = 0;", "",
                             "1: CameraConfig.PciIndex: missing, it reads as 0; 0 to 7, number of "
                             "the camera"});
    ExpectComplaint(Camera, {"DefectiveList = \"\";", "",
                             "1: CameraConfig.DefectiveList: missing, it reads as nothing; 0 to "
                             "79, characters"});
}

TEST_F(ConfigCheck, ArraysMustHaveAllTheirElements)
{
    ExpectComplaint(Definitions,
                    {"4.0, 8.0 ]", "4.0 ]",
                     "24: " + Pair + "Gain.[3]: missing, it reads as 0; 0 to 10000, factor"});
    ExpectComplaint(Definitions, {"[ 0.5, 0.5 ]", "0.5",
                                  "22: " + Pair +
                                      "SamplingClock: a number with a point where an array is "
                                      "wanted, it reads as 0; 0.01 to 100, microseconds"});
    ExpectComplaint(Definitions, {"2, 2, 1 ]", "2, 2, 1, 1 ]",
                                  "8: " + Sensor + "Dummy: 5 elements, of which 4 are read"});
}

TEST_F(ConfigCheck, MistypedValuesAreNamed)
{
    ExpectComplaint(Definitions, {"Xpix = 768;", "Xpix = 768.0;",
                                  "5: " + Sensor +
                                      "Xpix: a number with a point where an integer is wanted, "
                                      "it reads as 0; 2 to 32767, columns"});
    ExpectComplaint(Definitions, {"TimeBase = 40.0;", "TimeBase = \"40\";",
                                  "15: " + Platform +
                                      "TimeBase: a text where a number is wanted, it reads as 0; "
                                      "0.1 to 1000, MHz"});
    ExpectComplaint(Camera, {"DefectiveList = \"\";", "DefectiveList = 0;",
                             "8: CameraConfig.DefectiveList: an integer where a text is wanted, "
                             "it reads as nothing; 0 to 79, characters"});
    ExpectComplaint(Camera, {"LongCable = 0;", "LongCable = false;",
                             "9: CameraConfig.LongCable: true or false where an integer is "
                             "wanted, it reads as 0; 0 to 1, 1 with a long cable"});
}

// An integer reads as that number where one with a point is wanted.
TEST_F(ConfigCheck, AnIntegerIsANumber)
{
    WriteText(scratch, "f.cfg", With(Definitions, {"TimeBase = 40.0;", "TimeBase = 40;", ""}));
    EXPECT_EQ(Run({"config", "check", "f.cfg"}).exitCode, 0);
}

TEST_F(ConfigCheck, ImplausibleValuesAreNamedWithTheRangeAndItsUnit)
{
    ExpectComplaint(
        Definitions,
        {"[ 0.5, 0.5 ]", "[ 0.0, 0.5 ]",
         "22: " + Pair + "SamplingClock.[0]: 0 is not plausible; 0.01 to 100, microseconds"});
    ExpectComplaint(Definitions,
                    {"ADbit = [ 16, 0 ]", "ADbit = [ 60, 0 ]",
                     "15: " + Platform + "ADbit.[0]: 60 is not plausible; 8 to 16, bits"});
    ExpectComplaint(Camera, {"InterfaceType = 2;", "InterfaceType = 3;",
                             "2: CameraConfig.InterfaceType: 3 is not plausible; 0, 1, 2, 4, 6, "
                             "70: kind of link"});
    ExpectComplaint(Camera, {"PciIndex = 0;", "PciIndex = 8;",
                             "4: CameraConfig.PciIndex: 8 is not plausible; 0 to 7, number of "
                             "the camera"});
    ExpectComplaint(Camera,
                    {"DefectiveList = \"\"",
                     "DefectiveList = \"12345678901234567890123456789012345678901234567890123456789"
                     "012345678901234567890\"",
                     "8: CameraConfig.DefectiveList: 80 is not plausible; 0 to 79, characters"});
}

// 10 columns ahead of 768: 778.
TEST_F(ConfigCheck, TheRegisterMustHoldTheImage)
{
    ExpectComplaint(Definitions, {"HorRegSize = 800;", "HorRegSize = 777;",
                                  "9: " + Sensor +
                                      "HorRegSize: 777 is not plausible; at least HorDummyPix + "
                                      "Xpix, 778 columns"});
    WriteText(scratch, "f.cfg", With(Definitions, {"HorRegSize = 800;", "HorRegSize = 778;", ""}));
    EXPECT_EQ(Run({"config", "check", "f.cfg"}).exitCode, 0);
}

TEST_F(ConfigCheck, UnknownKeysHaveTheNearestName)
{
    ExpectComplaint(Definitions, {"Shutter = 1;", "Shutter = 1; shuter = 1;",
                                  "11: " + Sensor + "shuter: no such key, the nearest is Shutter"});
    ExpectComplaint(Definitions, {"FpgaId = 42;", "FpgaId = 42; Unheard_of = 1;",
                                  "16: " + Platform + "Unheard_of: no such key"});
    ExpectComplaint(Definitions,
                    {"    BRIAR-R3: {", "    BRIAR-R4: { };\n    BRIAR-R3: {",
                     "14: rmk_camera_library.camera_platforms.BRIAR-R4: no such platform, the "
                     "nearest is BRIAR-R3"});
    ExpectComplaint(Definitions, {"    kaf400e: {", "    kaf400: { };\n    kaf400e: {",
                                  "4: rmk_camera_library.ccd_definitions.kaf400: no such sensor, "
                                  "the nearest is kaf400e"});
    ExpectComplaint(Camera,
                    {"TemperatureSpan = 1.0;", "TemperatureSpan = 1.0; Temperaturespan = 1.0;",
                     "10: CameraConfig.Temperaturespan: no such key, the nearest is "
                     "TemperatureSpan"});
}

// The simulated camera alone has an image, and one platform alone a program of its sensor.
TEST_F(ConfigCheck, KeysOfOnePlatformBelongToNoOther)
{
    ExpectComplaint(Definitions, {"FpgaId = 42;", "FpgaId = 42; File = \"sky.raw\";",
                                  "16: " + Platform + "File: no such key"});
    const std::string processor = With(Definitions, {"BRIAR-R3", "R4-DSP", ""});
    WriteText(
        scratch, "f.cfg",
        With(processor, {"VerticalPhasePeriod = 5;",
                         "VerticalPhasePeriod = 5; Program = [ 0x00010203, 0x7FFFFFFF ];", ""}));
    EXPECT_EQ(Run({"config", "check", "f.cfg"}).exitCode, 0);
    WriteText(scratch, "f.cfg", With(Definitions, {"BRIAR-R3", "DEMO", ""}));
    const ProgramResult demo = Run({"config", "check", "f.cfg"});
    const std::string group = "f.cfg:14: rmk_camera_library.camera_platforms.DEMO.";
    EXPECT_EQ(demo.out,
              group + "File: missing, it reads as nothing; 1 to 255, characters\n" + group +
                  "Xpix: missing, it reads as 0; 1 to 2147483647, columns of File\n" + group +
                  "Ypix: missing, it reads as 0; 1 to 2147483647, rows of File\n");
}

TEST_F(ConfigCheck, CodesMustBeThoseOfTheCatalogue)
{
    ExpectComplaint(Camera, {"Platform = 44;", "Platform = 46;",
                             "2: CameraConfig.Platform: 46 is no platform; `qvn list` shows them"});
    ExpectComplaint(Camera, {"CCD = 255;", "CCD = 5000;",
                             "2: CameraConfig.CCD: platform 44 does not carry sensor 5000; `qvn "
                             "list --platform 44` shows its sensors"});
}

TEST_F(ConfigCheck, SyntaxErrorsHaveTheirLine)
{
    ExpectComplaint(Definitions, {"TimeBase = 40.0;", "TimeBase = ;", "15: syntax error"});
    ExpectComplaint(Camera, {"  LongCable = 0;", "  LongCable = 0; LongCable = 1;",
                             "9: duplicate setting name"});
}

// What the library refuses ahead of the parser.
TEST_F(ConfigCheck, WhatTheLibraryRefusesIsNamed)
{
    ExpectComplaint(Definitions, {"FpgaId = 42;", "FpgaId = 4294967296;",
                                  "16: an integer that does not fit 32 bits"});
    ExpectComplaint(
        Camera, {"  LongCable", "@include \"other.cfg\"\n  LongCable", "9: @include is refused"});
    WriteText(scratch, "f.cfg", std::string("# one\n# two\0\n", 13));
    EXPECT_EQ(Run({"config", "check", "f.cfg"}).out, "f.cfg:2: a byte of value 0\n");
    WriteText(scratch, "f.cfg", std::string((1 << 20) + 1, ' '));
    EXPECT_EQ(Run({"config", "check", "f.cfg"}).out, "f.cfg:1: longer than 1048576 bytes\n");
}

TEST_F(ConfigCheck, AFileOfAnotherKindIsSaidToBeNone)
{
    WriteText(scratch, "f.cfg", "CameraConfg: { };\n");
    const ProgramResult result = Run({"config", "check", "f.cfg"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out,
              "f.cfg:1: CameraConfg: no such group, the nearest is CameraConfig\n"
              "f.cfg:1: neither a qvn.cfg, which has the group rmk_camera_library, nor a "
              "camera.cfg, which has CameraConfig\n");
}

TEST_F(ConfigCheck, GroupsThatAreNoneAreNamed)
{
    WriteText(scratch, "f.cfg", "rmk_camera_library: {\nccd_definitions: { kaf400e = 1; };\n};\n");
    EXPECT_EQ(Run({"config", "check", "f.cfg"}).out,
              "f.cfg:1: rmk_camera_library.camera_platforms: missing\n"
              "f.cfg:2: rmk_camera_library.ccd_definitions.kaf400e: an integer where a group is "
              "wanted\n");
}

TEST_F(ConfigCheck, AFileThatIsNotThereIsAFailure)
{
    for (const char* file : {"none.cfg", "."}) {
        const ProgramResult result = Run({"config", "check", file});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(Contains(result.err, "cannot be read")) << result.err;
    }
    EXPECT_EQ(Run({"config"}).exitCode, 2);
    EXPECT_EQ(Run({"config", "check"}).exitCode, 2);
}
