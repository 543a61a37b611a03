// qvn wave build and play. The camera is a BRIAR-R3 with a sensor of 12 x 8 behind 4 leading
// cells in a register of 24, and a tick of 0.5 microseconds.
#include <png.h>

#include <cstring>

#include "tests/tools/fixture.h"

namespace {

constexpr int32_t Columns = 12, Rows = 8;

std::string Definitions(const std::string& registerSize, const std::string& tick)
{
    return "rmk_camera_library: { ccd_definitions: { kaf400e: { Xpix = 12; Ypix = 8; Dummy = [ 4, "
           "2, 2, 1 ]; HorDummyPix = 4; HorRegSize = " +
           registerSize + "; }; }; camera_platforms: { BRIAR-R3: { kaf400e: { SamplingClock = [ " +
           tick +
           ", 0.5 ]; VerticalPhasePeriod = 5; }; }; OSPREY: { kaf400e: { SamplingClock = [ 0.5, "
           "0.5 ]; VerticalPhasePeriod = 5; }; }; }; };\n";
}

// No two pixels are alike.
uint16_t Light(int32_t x, int32_t y)
{
    return static_cast<uint16_t>(1000 * (y + 1) + x);
}

std::vector<uint16_t> AllLight()
{
    std::vector<uint16_t> pixels;
    for (int32_t y = 0; y < Rows; ++y) {
        for (int32_t x = 0; x < Columns; ++x) pixels.push_back(Light(x, y));
    }
    return pixels;
}

std::string Card(const std::string& text)
{
    return text + std::string(80 - text.size(), ' ');
}

std::string Blocks(std::string text, char filler)
{
    return text + std::string((2880 - text.size() % 2880) % 2880, filler);
}

// A FITS file of one row of two pixels, with more cards in its head.
std::string FitsRow(int bits, const std::string& cards, const std::string& data)
{
    const std::string head = Card("SIMPLE  =                    T") +
                             Card("BITPIX  = " + std::to_string(bits)) +
                             Card("NAXIS   =                    2") + Card("NAXIS1  = 2") +
                             Card("NAXIS2  = 1") + cards + Card("END");
    return Blocks(head, ' ') + Blocks(data, '\0');
}

// A FITS file of 16-bit words, the first row first.
std::string Fits(const std::vector<int16_t>& words, int32_t width, int32_t height)
{
    const std::string head =
        Card("SIMPLE  =                    T") + Card("BITPIX  =                   16") +
        Card("NAXIS   =                    2") + Card("NAXIS1  = " + std::to_string(width)) +
        Card("NAXIS2  = " + std::to_string(height)) + Card("END");
    std::string data;
    for (const int16_t word : words) {
        data += static_cast<char>(static_cast<uint16_t>(word) >> 8);
        data += static_cast<char>(word);
    }
    return Blocks(head, ' ') + Blocks(data, '\0');
}

struct QvnWave : QvnProgram {
    void SetUp() override
    {
        QvnProgram::SetUp();
        WriteText(scratch, "qvn.cfg", Definitions("24", "0.5"));
    }

    ProgramResult Make(const std::string& command, std::vector<std::string> arguments)
    {
        std::vector<std::string> all = {"wave", command, "--platform", "44", "--sensor", "kaf400e"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return Run(all);
    }

    void WriteScene(const std::string& name, uint32_t format, const void* pixels, int32_t width,
                    int32_t height)
    {
        png_image image;
        memset(&image, 0, sizeof image);
        image.version = PNG_IMAGE_VERSION;
        image.width = static_cast<uint32_t>(width);
        image.height = static_cast<uint32_t>(height);
        image.format = format;
        ASSERT_NE(png_image_write_to_file(&image, (scratch.path + "/" + name).c_str(), 0, pixels, 0,
                                          nullptr),
                  0);
    }

    std::vector<uint16_t> PlayScene(const std::string& name)
    {
        const ProgramResult result = Make("play", {"wave.bin", "--scene", name, "--overwrite"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return ReadPng(scratch, "frame.png").pixels;
    }
};

} // namespace

// Four sections of a page each. The line has 32 words for the row, 30 pixels of 4, and an end:
// 153 of 0.5 microseconds, 8 of them 612 microseconds.
TEST_F(QvnWave, BuildTellsWhatItBuilt)
{
    const ProgramResult result = Make("build", {});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "Wrote wave.bin: BRIAR-R3 with kaf400e, 12 x 8 pixels, binning 1 x 1\n"
                          "R3: 1024 words of 8 bits in 4 sections; at most 65536\n"
                          "A line takes 0.0765 ms, the picture 0.612 ms\n");
    EXPECT_EQ(ReadText(scratch, "wave.bin").size(), 29u + 1024u);
    EXPECT_EQ(FilesIn(scratch).size(), 2u);
}

TEST_F(QvnWave, BuildKeepsAFileThatIsThere)
{
    WriteText(scratch, "mine", "kept");
    const ProgramResult refused = Make("build", {"-o", "mine"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(Contains(refused.err, "--overwrite")) << refused.err;
    EXPECT_EQ(ReadText(scratch, "mine"), "kept");
    EXPECT_EQ(Make("build", {"--output", "mine", "--overwrite"}).exitCode, 0);
    EXPECT_NE(ReadText(scratch, "mine"), "kept");
}

TEST_F(QvnWave, BuildThatDoesNotFitLeavesNoFile)
{
    const ProgramResult result = Make("build", {"--binning", "1,5000"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "error 8")) << result.err;
    EXPECT_TRUE(Contains(result.err, "Try: a lower vertical --binning")) << result.err;
    EXPECT_EQ(FilesIn(scratch).size(), 1u);
}

TEST_F(QvnWave, PairsWithoutAPatternAreTold)
{
    const ProgramResult none = Run({"wave", "build", "--platform", "DEMO"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_TRUE(Contains(none.err, "DEMO has no clock patterns")) << none.err;
    EXPECT_TRUE(Contains(none.err, "qvn list")) << none.err;
    const ProgramResult other = Run({"wave", "build", "--platform", "44", "--sensor", "kaf999"});
    EXPECT_EQ(other.exitCode, 1);
    EXPECT_TRUE(Contains(other.err, "no such sensor")) << other.err;
    EXPECT_EQ(Run({"wave", "build", "--platform", "Briar_X"}).exitCode, 1);
}

TEST_F(QvnWave, MissingDefinitionsNameTheirFileAndKey)
{
    WriteText(scratch, "qvn.cfg", Definitions("0", "0.5"));
    const ProgramResult length = Make("build", {});
    EXPECT_EQ(length.exitCode, 1);
    EXPECT_TRUE(Contains(length.err, "ccd_definitions.kaf400e.HorRegSize")) << length.err;
    WriteText(scratch, "qvn.cfg", Definitions("24", "-0.5"));
    const ProgramResult tick = Make("build", {});
    EXPECT_EQ(tick.exitCode, 1);
    EXPECT_TRUE(Contains(tick.err, "camera_platforms.BRIAR-R3.kaf400e.SamplingClock")) << tick.err;
    WriteText(scratch, "qvn.cfg", "rmk_camera_library: {");
    const ProgramResult broken = Make("build", {});
    EXPECT_TRUE(Contains(broken.err, "./qvn.cfg does not parse")) << broken.err;
    ASSERT_EQ(remove((scratch.path + "/qvn.cfg").c_str()), 0);
    const ProgramResult missing = Make("build", {});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(Contains(missing.err, "qvn.cfg cannot be opened")) << missing.err;
    EXPECT_TRUE(Contains(missing.err, "qvn init")) << missing.err;
    EXPECT_TRUE(FilesIn(scratch).empty());
}

TEST_F(QvnWave, WrongArgumentsAreRefused)
{
    EXPECT_EQ(Run({"wave"}).exitCode, 2);
    EXPECT_EQ(Make("play", {}).exitCode, 2);
    EXPECT_EQ(Make("build", {"--binning", "0,1"}).exitCode, 2);
    EXPECT_EQ(Make("build", {"--window", "0,0,4"}).exitCode, 2);
    EXPECT_EQ(Make("build", {"--config", "camera.cfg"}).exitCode, 2);
    for (const char* window : {"-1,0,4,4", "0,-1,4,4", "0,0,1,4", "0,0,4,0", "0,0,4,65536"}) {
        const ProgramResult result = Make("build", {"--window", window});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(Contains(result.err, std::string("--window ") + window)) << result.err;
    }
}

TEST_F(QvnWave, ConfigNamesTheCamera)
{
    const ProgramResult sample = Run({"init", "sky"});
    ASSERT_EQ(sample.exitCode, 0);
    std::string config = ReadText(scratch, "sky/camera.cfg");
    config.replace(config.find("Platform = 1;"), 13, "Platform = 44;");
    config.replace(config.find("CCD = 275;"), 10, "CCD = 255;");
    WriteText(scratch, "briar.cfg", config);
    const ProgramResult result =
        Run({"wave", "build", "--config", "./briar.cfg", "--library-path", "."});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(result.out, "BRIAR-R3 with kaf400e, 12 x 8")) << result.out;
}

TEST_F(QvnWave, PlayGivesTheSceneBack)
{
    const std::vector<uint16_t> light = AllLight();
    WriteScene("scene.png", PNG_FORMAT_LINEAR_Y, light.data(), Columns, Rows);
    ASSERT_EQ(Make("build", {}).exitCode, 0);
    const ProgramResult result = Make("play", {"wave.bin", "--scene", "scene.png"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "Wrote frame.png: 12 x 8 pixels of BRIAR-R3 with kaf400e\n");
    const Picture picture = ReadPng(scratch, "frame.png");
    EXPECT_EQ(picture.width, Columns);
    EXPECT_EQ(picture.height, Rows);
    EXPECT_EQ(picture.bits, 16);
    EXPECT_EQ(picture.channels, 1);
    EXPECT_EQ(picture.pixels, light);
}

// Bins of 2 x 2 from column 4 and row 2 on.
TEST_F(QvnWave, PlayBinsTheWindow)
{
    const std::vector<uint16_t> light = AllLight();
    WriteScene("scene.png", PNG_FORMAT_LINEAR_Y, light.data(), Columns, Rows);
    const std::vector<std::string> picture = {"--window", "2,1,2,1", "--binning", "2,2"};
    ASSERT_EQ(Make("build", picture).exitCode, 0);
    std::vector<std::string> arguments = {"wave.bin", "--scene", "scene.png", "-o", "part.png"};
    arguments.insert(arguments.end(), picture.begin(), picture.end());
    const ProgramResult result = Make("play", arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const std::vector<uint16_t> expected = {3004 + 3005 + 4004 + 4005, 3006 + 3007 + 4006 + 4007};
    EXPECT_EQ(ReadPng(scratch, "part.png").pixels, expected);
}

// The register ends 26 positions behind the leading cells.
TEST_F(QvnWave, PlayTellsOfLinesOfAnotherLength)
{
    const std::vector<std::string> window = {"--window", "0,0,100,2"};
    ASSERT_EQ(Make("build", window).exitCode, 0);
    const ProgramResult result = Make("play", {"wave.bin", "--window", "0,0,100,2"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(result.out, "Each line converts 26 pixels, 100 were asked for"))
        << result.out;
}

TEST_F(QvnWave, PlayShowsAStarFieldByItself)
{
    ASSERT_EQ(Make("build", {}).exitCode, 0);
    ASSERT_EQ(Make("play", {"wave.bin"}).exitCode, 0);
    const Picture picture = ReadPng(scratch, "frame.png");
    EXPECT_EQ(picture.width, Columns);
    EXPECT_NE(picture.pixels, std::vector<uint16_t>(Columns * Rows, 0));
}

TEST_F(QvnWave, ScenesMayBeOfEightBitsColouredOrFits)
{
    ASSERT_EQ(Make("build", {}).exitCode, 0);
    const uint8_t grey[] = {0, 1, 255};
    WriteScene("grey.png", PNG_FORMAT_GRAY, grey, 3, 1);
    std::vector<uint16_t> frame = PlayScene("grey.png"); // 8 bits become 16: 257 times as much
    EXPECT_EQ(frame[0], 0);
    EXPECT_EQ(frame[4], 257);
    EXPECT_EQ(frame[8], 65535);
    const uint8_t white[] = {255, 255, 255};
    WriteScene("white.png", PNG_FORMAT_RGB, white, 1, 1);
    EXPECT_EQ(PlayScene("white.png"), std::vector<uint16_t>(Columns * Rows, 65535));
    const uint8_t clear[] = {0, 0, 0, 0};
    WriteScene("clear.png", PNG_FORMAT_RGBA, clear, 1, 1);
    EXPECT_EQ(PlayScene("clear.png"), std::vector<uint16_t>(Columns * Rows, 0));
    WriteText(scratch, "scene.fits", Fits({100, -5, 30000, 7}, 2, 2));
    frame = PlayScene("scene.fits");
    EXPECT_EQ(frame[0], 100);
    EXPECT_EQ(frame[6], 0); // what is negative is dark
    EXPECT_EQ(frame[4 * Columns], 30000);
    EXPECT_EQ(frame[4 * Columns + 6], 7);
}

// The first and the last column of the picture are the two pixels.
TEST_F(QvnWave, ScenesInFitsHaveAnyKindOfPixels)
{
    using namespace std::string_literals;
    struct Kind {
        int bits;
        std::string cards, data;
        uint16_t first, last;
    };
    const Kind kinds[] = {
        {8, "", "\x07\xff"s, 7, 255},
        {16, Card("BZERO   = 32768"), "\x80\x00\x7f\xff"s, 0, 65535},
        {16, Card("BSCALE  = 1.0D1 / ten"), "\x00\x03\x00\x04"s, 30, 40},
        {32, "", "\x00\x00\x12\x34\x00\x01\x00\x00"s, 0x1234, 65535},
        {64, "", "\0\0\0\0\0\0\x01\x00\xff\xff\xff\xff\xff\xff\xff\xff"s, 256, 0},
        // 100.5, which is rounded up, and not a number
        {-32, "", "\x42\xc9\x00\x00\x7f\xc0\x00\x00"s, 101, 0},
        // 3.0 and 1e300
        {-64, "", "\x40\x08\0\0\0\0\0\0\x7e\x37\xe4\x3c\x88\x00\x75\x9c"s, 3, 65535},
    };
    ASSERT_EQ(Make("build", {}).exitCode, 0);
    for (const Kind& kind : kinds) {
        WriteText(scratch, "kind.fits", FitsRow(kind.bits, kind.cards, kind.data));
        const std::vector<uint16_t> frame = PlayScene("kind.fits");
        ASSERT_EQ(frame.size(), size_t{Columns} * Rows) << kind.bits << kind.cards;
        EXPECT_EQ(frame.front(), kind.first) << kind.bits << kind.cards;
        EXPECT_EQ(frame.back(), kind.last) << kind.bits << kind.cards;
    }
}

TEST_F(QvnWave, BrokenScenesAreRefused)
{
    const std::vector<uint16_t> light = AllLight();
    WriteScene("whole.png", PNG_FORMAT_LINEAR_Y, light.data(), Columns, Rows);
    const std::string png = ReadText(scratch, "whole.png");
    const std::string fits = Fits({1, 2, 3, 4}, 2, 2);
    WriteText(scratch, "half.png", png.substr(0, png.size() / 2));
    WriteText(scratch, "head.png", png.substr(0, 8));
    WriteText(scratch, "head.fits", fits.substr(0, 400));
    WriteText(scratch, "half.fits", fits.substr(0, 2880));
    WriteText(scratch, "huge.fits", Fits({1}, 2000000000, 2000000000));
    WriteText(scratch, "none.fits", Fits({}, 0, 0));
    WriteText(scratch, "kind.fits", FitsRow(12, "", "1234"));
    WriteText(scratch, "size.fits", FitsRow(8, Card("NAXIS1  = 1e99"), "1234"));
    WriteText(scratch, "word.fits", FitsRow(8, Card("NAXIS1  = 'two'"), "1234"));
    WriteText(scratch, "short", "SIMP");
    WriteText(scratch, "text.png", "a picture of the sky");
    ASSERT_EQ(Make("build", {}).exitCode, 0);
    for (const char* name :
         {"half.png", "head.png", "head.fits", "half.fits", "huge.fits", "none.fits", "kind.fits",
          "size.fits", "word.fits", "short", "text.png", "nowhere.png", "."}) {
        const ProgramResult result = Make("play", {"wave.bin", "--scene", name});
        EXPECT_EQ(result.exitCode, 1) << name;
        EXPECT_TRUE(Contains(result.err, std::string("reading --scene ") + name)) << result.err;
        EXPECT_FALSE(FileExists(scratch, "frame.png")) << name;
        EXPECT_FALSE(FileExists(scratch, "frame.png.part")) << name;
    }
}

TEST_F(QvnWave, PlayRefusesWhatIsNoPatternOfTheCamera)
{
    WriteText(scratch, "text", "words");
    ASSERT_EQ(Make("build", {}).exitCode, 0);
    for (const char* name : {"text", "nowhere", "."}) {
        const ProgramResult result = Make("play", {name});
        EXPECT_EQ(result.exitCode, 1) << name;
        EXPECT_TRUE(Contains(result.err, "no clock pattern of this camera")) << result.err;
    }
    const ProgramResult wide =
        Run({"wave", "play", "wave.bin", "--platform", "200", "--sensor", "255"});
    EXPECT_EQ(wide.exitCode, 1);
    EXPECT_TRUE(Contains(wide.err, "OSPREY with kaf400e")) << wide.err;
    EXPECT_FALSE(FileExists(scratch, "frame.png"));
}
