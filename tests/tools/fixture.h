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
