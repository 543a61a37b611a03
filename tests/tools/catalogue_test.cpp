// init, list, info and the arguments themselves.
#include <sys/stat.h>

#include <cstdlib>

#include "catalogue/catalogue.h"
#include "tests/tools/fixture.h"

namespace {

// Whether the condition holds for `d`, the parsed text.
bool JsonHolds(const Scratch& scratch, const std::string& text, const std::string& condition)
{
    WriteText(scratch, "answer.json", text);
    const std::string command = "/usr/bin/python3 -c \"import json,sys; d = json.load(open('" +
                                scratch.path + "/answer.json')); sys.exit(0 if (" + condition +
                                ") else 1)\"";
    return std::system(command.c_str()) == 0;
}

} // namespace

TEST_F(QvnProgram, InitWritesTheThreeSampleFiles)
{
    const ProgramResult result = Run({"init", "made/here"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(FileExists(scratch, "made/here/qvn.cfg"));
    EXPECT_TRUE(FileExists(scratch, "made/here/camera.cfg"));
    // 3072 x 2048 pixels of two bytes.
    EXPECT_EQ(ReadText(scratch, "made/here/starfield.raw").size(), 12582912U);
    EXPECT_TRUE(Contains(result.out, "--library-path made/here"));
}

TEST_F(QvnProgram, InitReplacesFilesOnlyWithForce)
{
    ASSERT_EQ(mkdir((scratch.path + "/sky").c_str(), 0700), 0);
    WriteText(scratch, "sky/qvn.cfg", "mine");
    const ProgramResult refused = Run({"init", "sky"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(Contains(refused.err, "qvn.cfg")) << refused.err;
    EXPECT_TRUE(Contains(refused.err, "--force")) << refused.err;
    EXPECT_EQ(ReadText(scratch, "sky/qvn.cfg"), "mine");
    EXPECT_FALSE(FileExists(scratch, "sky/starfield.raw"));

    EXPECT_EQ(Run({"init", "sky", "--force"}).exitCode, 0);
    EXPECT_NE(ReadText(scratch, "sky/qvn.cfg"), "mine");
}

TEST_F(QvnProgram, ListIsATableOfPlatformsAndSensors)
{
    const ProgramResult result = Run({"list"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(Contains(result.out, "Code  Platform      Sensors"));
    EXPECT_TRUE(Contains(result.out, "\n   1  DEMO          120 ccd30-11, 133 ccd30-11b, "));
    // Two that the library knows by name though its own list leaves them out.
    EXPECT_TRUE(Contains(result.out, "\n  21  Tarn_IIA      -\n"));
    EXPECT_TRUE(Contains(result.out, "\n  30  Larch         123 ccd42-40, "));
}

TEST_F(QvnProgram, ListAsJsonHoldsEveryPlatform)
{
    const ProgramResult result = Run({"list", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(JsonHolds(scratch, result.out,
                          "len(d['platforms']) == " + std::to_string(PlatformNameCount)));
    EXPECT_TRUE(JsonHolds(scratch, result.out,
                          "[len(p['sensors']) for p in d['platforms'] if p['name'] == 'DEMO'] == "
                          "[68]"));
    EXPECT_TRUE(JsonHolds(scratch, result.out,
                          "d['platforms'][0] == {'code': 90, 'name': 'THISTLE', 'sensors': "
                          "[{'code': 3000, 'name': 'kac0310'}, {'code': 3001, 'name': "
                          "'kac1310'}]}"));
}

TEST_F(QvnProgram, ListOfAnUnknownPlatformNamesTheArgument)
{
    const ProgramResult result = Run({"list", "--platform", "Tarn"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "--platform Tarn")) << result.err;
    EXPECT_TRUE(Contains(result.err, "Tarn_IV")) << result.err;
}

TEST_F(QvnWithCamera, InfoTellsWhatOpeningReports)
{
    const ProgramResult result = RunCamera({"info"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(result.out, "Platform      1 DEMO\n")) << result.out;
    EXPECT_TRUE(Contains(result.out, "Sensor        255 kaf400e\n")) << result.out;
    EXPECT_TRUE(Contains(result.out, "Picture       768 x 512 pixels\n")) << result.out;
    EXPECT_TRUE(Contains(result.out, "Pixel size    9 x 9 um\n")) << result.out;
    EXPECT_TRUE(Contains(result.out, "16 bits, MaxValue 65535\n")) << result.out;
    EXPECT_TRUE(Contains(result.out, "Cooler        off, 0.0 %\n")) << result.out;
}

TEST_F(QvnWithCamera, InfoAsJsonHoldsNumbers)
{
    const ProgramResult result = RunCamera({"info", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(JsonHolds(scratch, result.out,
                          "d['picture'] == {'width': 768, 'height': 512} and d['max_value'] == "
                          "65535 and d['sensor']['pixel_um'] == [9, 9]"))
        << result.out;
    // The first simulated camera is at 21 degrees, give or take an eighth.
    EXPECT_TRUE(JsonHolds(scratch, result.out, "20.87 < d['temperature_celsius'] < 21.13"))
        << result.out;
}

TEST_F(QvnWithCamera, ConfigurationFileChoosesTheCamera)
{
    const ProgramResult bare = Run({"info", "--library-path", "sky", "--config", "camera.cfg"});
    EXPECT_EQ(bare.exitCode, 0) << bare.err;
    EXPECT_TRUE(Contains(bare.out, "Sensor        275 kaf1600\n")) << bare.out;
    const ProgramResult path =
        Run({"info", "--library-path", "sky", "--config", "./sky/camera.cfg"});
    EXPECT_EQ(path.exitCode, 0) << path.err;
}

TEST_F(QvnWithCamera, MissingOrBrokenConfigurationFileIsNamed)
{
    const ProgramResult missing = Run({"info", "--library-path", "sky", "--config", "none.cfg"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(Contains(missing.err, "--config none.cfg: the file cannot be opened"))
        << missing.err;
    WriteText(scratch, "sky/broken.cfg", "CameraConfig: {");
    const ProgramResult broken = Run({"info", "--library-path", "sky", "--config", "broken.cfg"});
    EXPECT_EQ(broken.exitCode, 1);
    EXPECT_TRUE(Contains(broken.err, "does not parse")) << broken.err;
}

TEST_F(QvnWithCamera, ConfigurationWithAWrongCameraNumberNamesTheKey)
{
    WriteText(scratch, "sky/odd.cfg", "CameraConfig: { Platform = 1; CCD = 255; PciIndex = 8; };");
    const ProgramResult result = Run({"info", "--library-path", "sky", "--config", "odd.cfg"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "CameraConfig.PciIndex is 8")) << result.err;
}

TEST_F(QvnWithCamera, ConfigurationWithAWrongCodeNamesTheKeyAndTheFile)
{
    WriteText(scratch, "sky/p.cfg", "CameraConfig: { Platform = 7; CCD = 255; PciIndex = 0; };");
    const ProgramResult platform = Run({"info", "--library-path", "sky", "--config", "p.cfg"});
    EXPECT_EQ(platform.exitCode, 1);
    EXPECT_TRUE(Contains(platform.err, "CameraConfig.Platform in p.cfg, 7: no such platform"))
        << platform.err;
    WriteText(scratch, "sky/c.cfg", "CameraConfig: { Platform = 1; CCD = 5000; PciIndex = 0; };");
    const ProgramResult sensor = Run({"info", "--library-path", "sky", "--config", "c.cfg"});
    EXPECT_EQ(sensor.exitCode, 1);
    EXPECT_TRUE(Contains(sensor.err, "CameraConfig.CCD in c.cfg, 5000: DEMO does not carry"))
        << sensor.err;
}

TEST_F(QvnWithCamera, TemperatureThatCannotBeReadIsToldOnStderr)
{
    scratch.spy = "blind";
    for (const char* form : {"--camera=0", "--json"}) {
        const ProgramResult result = RunCamera({"info", form});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(Contains(result.err,
                             "reading the temperature of camera 0, DEMO with kaf400e: "
                             "Link failure! Please check the camera link (error 2)\n     Try: "))
            << result.err;
    }
}

TEST_F(QvnProgram, ResultsThatDoNotArriveAreAFailure)
{
    for (const OutTo out : {OutTo::FullDisk, OutTo::ClosedPipe}) {
        scratch.out = out;
        const std::vector<std::vector<std::string>> lines = {
            {"list"}, {"list", "--json"}, {"init", "--force"}, {"--version"}, {"--help"}};
        for (const std::vector<std::string>& line : lines) {
            const ProgramResult result = Run(line);
            EXPECT_EQ(result.exitCode, 1) << line.back();
            EXPECT_TRUE(Contains(result.err, "stdout")) << result.err;
        }
    }
}

TEST_F(QvnProgram, InitOnAFullDiskAsksForSpace)
{
    scratch.largestFile = 1000000;
    const ProgramResult result = Run({"init"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "File too large")) << result.err;
    EXPECT_TRUE(Contains(result.err, "free space")) << result.err;
    EXPECT_FALSE(Contains(result.err, "--force")) << result.err;
}

TEST_F(QvnWithCamera, OptionsTakeAll32BitsAndNoMore)
{
    for (const char* options : {"-1", "0x100000000", "4294967296", "0x8 ", " 8", "0x", "+8"}) {
        EXPECT_EQ(RunCamera({"info", "--options", options}).exitCode, 2) << options;
    }
    // All but the bits that act at open: service, port library and the internal buffers.
    const ProgramResult result = RunCamera({"info", "--options", "0xFFFF76BC", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(JsonHolds(scratch, result.out, "d['options'] == 0xFFFF76BC")) << result.out;
}

TEST_F(QvnProgram, EmptyTextsEndWithTwoAndAreNamed)
{
    const std::vector<std::vector<std::string>> lines = {
        {"info", "--config"},   {"info", "--library-path"}, {"info", "--platform"},
        {"info", "--sensor"},   {"expose", "--preview"},    {"expose", "--output"},
        {"list", "--platform"}, {"temperature", "--log"},   {"temperature", "--plot"},
    };
    for (std::vector<std::string> line : lines) {
        line.push_back("");
        const ProgramResult result = Run(line);
        EXPECT_EQ(result.exitCode, 2) << line[1];
        EXPECT_TRUE(Contains(result.err, line[1])) << result.err;
        EXPECT_TRUE(Contains(result.err, "empty")) << result.err;
    }
}

TEST_F(QvnWithCamera, ConfigurationFileExcludesAPlatform)
{
    const ProgramResult result =
        Run({"info", "--library-path", "sky", "--config", "camera.cfg", "--platform", "1"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(Contains(result.err, "--config")) << result.err;
}

TEST_F(QvnProgram, MissingLibraryFolderIsNamedWithAWayOut)
{
    const ProgramResult result = Run({"info", "--library-path", "nowhere"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "--library-path nowhere: no such folder")) << result.err;
    EXPECT_TRUE(Contains(result.err, "qvn init nowhere")) << result.err;
}

TEST_F(QvnProgram, MissingDefinitionFileGivesTheLibrarysText)
{
    const ProgramResult result = Run({"info"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "Platform definition not found! Check qvn library path"))
        << result.err;
    EXPECT_TRUE(Contains(result.err, "opening camera 0, DEMO with kaf1600")) << result.err;
    EXPECT_TRUE(Contains(result.err, "./qvn.cfg cannot be opened")) << result.err;
    EXPECT_TRUE(Contains(result.err, "Try: ")) << result.err;
}

TEST_F(QvnProgram, FolderNamedQvnIsFoundByItself)
{
    const ProgramResult made = Run({"init"});
    ASSERT_EQ(made.exitCode, 0) << made.err;
    EXPECT_TRUE(FileExists(scratch, "qvn/qvn.cfg"));
    EXPECT_EQ(Run({"info"}).exitCode, 0);
}

TEST_F(QvnWithCamera, BrokenDefinitionFileIsToldApart)
{
    WriteText(scratch, "sky/qvn.cfg", "rmk_camera_library: {");
    const ProgramResult result = RunCamera({"info"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "sky/qvn.cfg does not parse")) << result.err;
}

TEST_F(QvnWithCamera, MissingRawImageNamesItsKey)
{
    ASSERT_EQ(unlink((scratch.path + "/sky/starfield.raw").c_str()), 0);
    const ProgramResult result = RunCamera({"info"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "Camera not found! Is it turned on ?")) << result.err;
    EXPECT_TRUE(Contains(result.err, "rmk_camera_library.camera_platforms.DEMO.File"))
        << result.err;
}

TEST_F(QvnWithCamera, SensorWithoutDefinitionNamesTheKey)
{
    WriteText(scratch, "sky/qvn.cfg",
              "rmk_camera_library: { camera_platforms: { DEMO: { File = \"starfield.raw\"; "
              "Xpix = 3072; Ypix = 2048; }; }; };");
    const ProgramResult result = RunCamera({"info"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "rmk_camera_library.ccd_definitions.kaf400e.Xpix"))
        << result.err;
}

TEST_F(QvnWithCamera, WrongSensorNameIsNamedWithSimilarOnes)
{
    const ProgramResult result = Run({"info", "--library-path", "sky", "--sensor", "kaf16000"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "--sensor kaf16000: no such sensor")) << result.err;
    EXPECT_TRUE(Contains(result.err, "kaf1600")) << result.err;
}

TEST_F(QvnWithCamera, SensorThatThePlatformLacksIsRefused)
{
    const ProgramResult result = Run({"info", "--library-path", "sky", "--sensor", "5000"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "--sensor 5000: DEMO does not carry this sensor"))
        << result.err;
}

TEST_F(QvnWithCamera, PlatformWithoutADriverGivesTheLibrarysText)
{
    const ProgramResult result = Run({"info", "--library-path", "sky", "--platform", "thistle"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "Unsupported platform! Check qvn library path")) << result.err;
}

TEST_F(QvnProgram, WrongArgumentsEndWithTwoAndAreNamed)
{
    EXPECT_EQ(Run({}).exitCode, 2);
    EXPECT_EQ(Run({"expos"}).exitCode, 2);
    const std::vector<std::vector<std::string>> lines = {
        {"expose", "--window", "1,2,3"},   {"expose", "--binning", "0,1"},
        {"expose", "--format", "jpeg"},    {"expose", "--seconds", "-1"},
        {"expose", "--seconds", "nan"},    {"expose", "--gain", "5"},
        {"expose", "--frames", "0"},       {"expose", "--camera", "8"},
        {"expose", "--options", "many"},   {"expose", "--interface", "usb"},
        {"expose", "--tolerance", "1"},    {"temperature", "--target", "0"},
        {"temperature", "--seconds", "1"}, {"temperature", "--interval", "0"},
        {"info", "--binning", "1,1"},      {"init", "a", "b"},
    };
    for (const std::vector<std::string>& line : lines) {
        const ProgramResult result = Run(line);
        EXPECT_EQ(result.exitCode, 2) << line[0] << ' ' << line.back() << ": " << result.err;
        EXPECT_FALSE(result.err.empty());
        if (line.size() > 2 && line[0] == "expose") {
            EXPECT_TRUE(Contains(result.err, line[1])) << result.err;
        }
    }
}

TEST_F(QvnProgram, HelpAndVersionGoToStdout)
{
    const ProgramResult help = Run({"expose", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(Contains(help.out, "--keep-broken"));
    const ProgramResult version = Run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out, "qvn 7.4.3\n");
}
