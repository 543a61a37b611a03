// The fixtures of the program's tests.
#pragma once
#include <gtest/gtest.h>

#include "tests/tools/support.h"

struct QvnProgram : testing::Test {
    Scratch scratch;

    void SetUp() override
    {
        scratch = MakeScratch();
        ASSERT_FALSE(scratch.path.empty());
    }
    void TearDown() override { RemoveScratch(scratch); }

    ProgramResult Run(const std::vector<std::string>& arguments)
    {
        return RunProgram(scratch, arguments);
    }
};

// The small sensor kaf400e, 768 x 512, on the simulated camera, with the sample files in
// the folder sky.
struct QvnWithCamera : QvnProgram {
    void SetUp() override
    {
        QvnProgram::SetUp();
        ASSERT_TRUE(CopySampleFiles(scratch, "sky"));
    }

    std::vector<std::string> With(const std::vector<std::string>& arguments)
    {
        std::vector<std::string> all = arguments;
        all.insert(all.end(), {"--library-path", "sky", "--sensor", "kaf400e"});
        return all;
    }
    ProgramResult RunCamera(const std::vector<std::string>& arguments)
    {
        return Run(With(arguments));
    }
};

// Virtual cameras with a sensor of 24 x 16, small enough to know each pixel.
constexpr int32_t SmallColumns = 24, SmallRows = 16;

struct QvnVirtual : QvnProgram {
    void SetUp() override
    {
        QvnProgram::SetUp();
        std::string text =
            "rmk_camera_library: { ccd_definitions: { kaf400e: { Xpix = 24; Ypix = 16; Dummy = [ "
            "4, 2, 2, 1 ]; HorDummyPix = 4; HorRegSize = 32; }; }; camera_platforms: {\n";
        for (const char* platform : {"BRIAR", "BRIAR-PCI", "BRIAR-R3", "WREN", "Tarn_IV_PLUS"}) {
            text += std::string(platform) +
                    ": { ADbit = [ 16, 0 ]; TimeBase = 40.0; FpgaId = 42; kaf400e: { "
                    "SamplingClock = [ 0.5, 0.5 ]; VerticalPhasePeriod = 5; }; };\n";
        }
        WriteText(scratch, "qvn.cfg", text + "}; };\n");
    }

    ProgramResult RunVirtual(std::vector<std::string> arguments, const std::string& text)
    {
        arguments.insert(arguments.end(), {"--virtual", text});
        return Run(arguments);
    }
    void ExpectPicture(const std::string& name, uint16_t (*pixel)(int32_t x, int32_t y))
    {
        const Picture picture = ReadPng(scratch, name);
        ASSERT_EQ(picture.width, SmallColumns);
        ASSERT_EQ(picture.height, SmallRows);
        for (int32_t y = 0; y < SmallRows; ++y) {
            for (int32_t x = 0; x < SmallColumns; ++x) {
                ASSERT_EQ(PixelAt(picture, x, y), pixel(x, y)) << x << ", " << y;
            }
        }
    }
};
