// A host program on the stand-ins, each time in a folder of its own, with the stand-ins
// where a loader is told to look.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <unistd.h>

#include "tests/support/shell.h"

namespace {

namespace fs = std::filesystem;

void Write(const fs::path& path, const std::string& text)
{
    std::ofstream(path) << text;
}

// "lib" has the USB library, "qvn" the adaptor's and the definitions; both have the cameras.
struct StandIn : testing::Test {
    void SetUp() override
    {
        folder = fs::path(testing::TempDir()) /
                 ("standin_" + std::to_string(getpid()) + "_" +
                  testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder);
        fs::create_directories(folder / "lib");
        fs::create_directories(folder / "qvn");
        fs::copy_file(QVN_SOURCE_DIR "/share/qvn/qvn.cfg", folder / "qvn/qvn.cfg");
        fs::create_symlink(QVN_FTD2XX, folder / "lib/libftd2xx.so");
        fs::create_symlink(QVN_KZBUSB, folder / "qvn/kzbusb.so");
    }
    void TearDown() override { fs::remove_all(folder); }

    void SetCameras(const std::string& text) const
    {
        Write(folder / "lib/cameras.cfg", text);
        Write(folder / "qvn/cameras.cfg", text);
    }

    ShellResult RunHost(const std::string& arguments) const
    {
        return RunShell("cd '" + folder.string() + "' && LD_LIBRARY_PATH='" +
                        (folder / "lib").string() + "' '" QVN_STANDIN_HOST "' " + arguments);
    }

    fs::path folder;
};

// Names that a library shows, of functions and data.
std::vector<std::string> ShownNames(const std::string& library)
{
    std::istringstream lines(RunShell(QVN_NM " -D --defined-only '" + library + "'").out);
    std::vector<std::string> names;
    std::string address, kind, name;
    while (lines >> address >> kind >> name) names.push_back(name);
    return names;
}

void ExpectPrefix(const std::string& library, const std::string& prefix, size_t count)
{
    const std::vector<std::string> names = ShownNames(library);
    EXPECT_EQ(names.size(), count);
    for (const std::string& name : names) EXPECT_EQ(name.rfind(prefix, 0), 0u) << name;
}

} // namespace

TEST_F(StandIn, ShowsThePublicNamesAlone)
{
    ExpectPrefix(QVN_FTD2XX, "FT_", 16);
    ExpectPrefix(QVN_KZBUSB, "Usb", 10);
}

// The scene is column + row. Bins of one pixel; the camera has no lines ahead.
TEST_F(StandIn, AFifoCameraGivesItsFrameToAHost)
{
    SetCameras("platform=450\nsensor=3945\nscene=ramp\n");
    const ShellResult run = RunHost("450 3945 0 0 0 100 0 7 500");
    EXPECT_EQ(run.out, "1024 x 1024: 0 100 507\n");
    EXPECT_EQ(run.exitCode, 0);
}

TEST_F(StandIn, AnAdaptorCameraGivesItsFrameToAHost)
{
    SetCameras("platform=205\nsensor=133\nscene=ramp\n");
    const ShellResult run = RunHost("205 133 0 10 100 500 200");
    EXPECT_EQ(run.out, "1024 x 256: 110 700\n");
    EXPECT_EQ(run.exitCode, 0);
}

// In synchronous mode and with a wire language of its own each.
TEST_F(StandIn, CamerasOfOtherWireLanguagesGiveTheirFrames)
{
    for (const char* platform : {"61", "200", "48"}) {
        SetCameras(std::string("platform=") + platform + "\nsensor=255\nscene=flat\n");
        EXPECT_EQ(RunHost(std::string(platform) + " 255 0 384 256").out, "768 x 512: 20000\n")
            << platform;
    }
}

// By whoever else loads the library: a chip with two channels, and bad pointers.
TEST_F(StandIn, TheVendorsLibraryAnswersAnyCaller)
{
    SetCameras("platform=61\nsensor=255\n");
    const fs::path before = fs::current_path();
    fs::current_path(folder); // the definitions are in the folder qvn below
    void* library = dlopen((folder / "lib/libftd2xx.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto list =
        reinterpret_cast<uint32_t (*)(void*, void*, uint32_t)>(dlsym(library, "FT_ListDevices"));
    const auto open = reinterpret_cast<uint32_t (*)(int, void**)>(dlsym(library, "FT_Open"));
    const auto info =
        reinterpret_cast<uint32_t (*)(void*, uint32_t*, uint32_t*, char*, char*, void*)>(
            dlsym(library, "FT_GetDeviceInfo"));
    const auto queue =
        reinterpret_cast<uint32_t (*)(void*, uint32_t*)>(dlsym(library, "FT_GetQueueStatus"));
    const auto cycle = reinterpret_cast<uint32_t (*)(void*)>(dlsym(library, "FT_CyclePort"));
    constexpr uint32_t Done = 0, InvalidParameter = 6, NumberOnly = 0x80000000;
    uint32_t count = 9;
    EXPECT_EQ(list(&count, nullptr, 0), InvalidParameter);
    EXPECT_EQ(list(nullptr, nullptr, NumberOnly), InvalidParameter);
    EXPECT_EQ(list(&count, nullptr, NumberOnly), Done);
    EXPECT_EQ(count, 1u);
    void* device = nullptr;
    EXPECT_EQ(open(0, nullptr), InvalidParameter);
    ASSERT_EQ(open(0, &device), Done);
    uint32_t type = 0, id = 0;
    char serial[64] = "?", description[64] = "?";
    EXPECT_EQ(info(device, &type, &id, nullptr, description, nullptr), InvalidParameter);
    EXPECT_EQ(info(device, &type, &id, serial, description, nullptr), Done);
    EXPECT_EQ(type, 6u);
    EXPECT_EQ(id, 0x04036010u);
    EXPECT_STRNE(serial, "?");
    EXPECT_EQ(queue(device, nullptr), InvalidParameter);
    EXPECT_EQ(queue(device, &count), Done);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(cycle(device), Done);
    fs::current_path(before);
}

TEST_F(StandIn, CamerasStandSideBySide)
{
    SetCameras("platform=205\nsensor=133\nscene=flat\nplatform=450\nsensor=3945\nscene=flat\n");
    EXPECT_EQ(RunHost("450 3945 1 512 512").out, "1024 x 1024: 20000\n");
    EXPECT_EQ(RunHost("205 133 0 512 128").out, "1024 x 256: 20000\n");
}

TEST_F(StandIn, CamerasBesideTheStandInItselfAreFoundThroughALink)
{
    fs::create_directories(folder / "installed");
    fs::copy_file(QVN_FTD2XX, folder / "installed/libftd2xx.so");
    fs::remove(folder / "lib/libftd2xx.so");
    fs::create_symlink(folder / "installed/libftd2xx.so", folder / "lib/libftd2xx.so");
    Write(folder / "installed/cameras.cfg", "platform=450\nsensor=3945\nscene=flat\n");
    EXPECT_EQ(RunHost("450 3945 0 512 512").out, "1024 x 1024: 20000\n");
}

TEST_F(StandIn, ACameraThatIsNotThereIsNotOpened)
{
    SetCameras("platform=450\nsensor=3945\n");
    const ShellResult run = RunHost("450 3945 1");
    EXPECT_EQ(run.out.rfind("error 18:", 0), 0u) << run.out;
}

TEST_F(StandIn, WithoutAFileThereIsAMessageAndNoDevice)
{
    const ShellResult run = RunHost("450 3945 0");
    const std::string expected = "qvn stand-in: " + (folder / "lib/cameras.cfg").string() +
                                 ": there is no such file\nerror 17:";
    EXPECT_EQ(run.out.rfind(expected, 0), 0u) << run.out;
}

TEST_F(StandIn, ABadFileIsToldWithItsLine)
{
    SetCameras("# two lines\nplatform=9999\n");
    const ShellResult run = RunHost("450 3945 0");
    const std::string expected =
        "qvn stand-in: " + (folder / "lib/cameras.cfg").string() + ", line 2: platform: ";
    EXPECT_EQ(run.out.rfind(expected, 0), 0u) << run.out;
    EXPECT_NE(run.out.find("\nerror 17:"), std::string::npos) << run.out;
}

TEST_F(StandIn, WhatAStandInCannotHaveIsTold)
{
    const char* texts[][2] = {
        {"platform=42\n", "camera 0: platform 42 is not on USB here"},
        {"time=virtual\nplatform=450\n", "time: "},
        {"platform=450\nscene=picture.png\n", "camera 0: scene: "},
    };
    for (const auto& text : texts) {
        SetCameras(text[0]);
        const ShellResult run = RunHost("450 3945 0");
        EXPECT_EQ(run.out.rfind(std::string("qvn stand-in: ") + text[1], 0), 0u) << run.out;
        EXPECT_NE(run.out.find("\nerror 17:"), std::string::npos) << run.out;
    }
}

TEST_F(StandIn, TheAdaptorOfABadFileOpensNothing)
{
    SetCameras("");
    const ShellResult run = RunHost("205 133 0");
    EXPECT_EQ(run.out.rfind("qvn stand-in: platform: missing", 0), 0u) << run.out;
    EXPECT_NE(run.out.find("\nerror 18:"), std::string::npos) << run.out;
}
