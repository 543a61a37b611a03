#include "tests/traffic/conversation.h"

#include <filesystem>

#include "core/record.h"
#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/traffic.h"
#include "emulator/world.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr double Exposure = 0.02;
constexpr int32_t Settling = 7;

bool Streams; // pixels wait from the begin of a stream to the next address

void Address(int32_t camera, uint16_t address)
{
    Streams = false;
    EmuBusAddress(camera, address);
}

void Stream(int32_t camera)
{
    Streams = true;
    EmuBusStream(camera);
}

bool PixelWaits(int32_t /*camera*/)
{
    return Streams;
}

uint16_t BlackPixel(int32_t /*camera*/)
{
    return 0;
}

void UseWillingCamera()
{
    Streams = false;
    EmuUseFarEnd({Address, EmuBusData, EmuBusRead, Stream, PixelWaits, BlackPixel, EmuBusListens,
                  EmuBusByteCable, EmuBusSetUnit});
}

std::string Hex(uint32_t value)
{
    char text[16];
    snprintf(text, sizeof text, "%08X", value);
    return text;
}

void PutLittle(std::string* file, uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i) *file += static_cast<char>(value >> 8 * i & 0xFF);
}

} // namespace

void Conversation::OpenRecorded(const VirtualSetup& setup, bool cycles, int32_t link)
{
    Plug(setup);
    CameraConfig config = {};
    config.InterfaceLink = link;
    QV_InitOptions(&config, 0);
    Record(cycles);
    QV_Open(setup.platform, setup.sensor, 0x378, setup.interfaceType, 0, 0, 0, nullptr, nullptr);
    EmuRecord(false);
    EXPECT_EQ(QV_Status(0), 0);
}

void Conversation::Begin(const VirtualSetup& setup)
{
    Plug(setup);
    Open(setup);
    CameraRecord& record = CameraTable[0];
    const uint16_t table[12] = {0, 5, 0x0100, 0x1100, 0x0200, 0x0200, 0x0300, 0x0330};
    for (int i = 0; i < 12; ++i) record.SequenceTable[i] = table[i];
    record.Config.ShutterHisteresys = Settling;
    UseWillingCamera();
}

void Conversation::Record(bool cycles)
{
    EmuResetTraffic();
    EmuRecordCycles(cycles);
    EmuRecord(true);
}

void Conversation::Frame(int32_t shutter)
{
    std::vector<uint16_t> pixels(ImageColumns * ImageRows);
    QV_GetCCD(shutter, Exposure, pixels.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
}

void Conversation::Window()
{
    CameraRecord& record = CameraTable[0];
    record.WindowBuilt = 1;
    record.BuiltWindowX = 2;
    record.BuiltWindowY = 3;
    record.BuiltWindowWidth = 4;
    record.BuiltWindowHeight = 2;
    record.BuiltHorBinning = record.BuiltVerBinning = 1;
    uint16_t pixels[8];
    QV_GetWinCCD(1, Exposure, 2, 3, 4, 2, pixels, 0);
    EXPECT_EQ(QV_Status(0), 0);
}

void LoadWords(bool bytes, uint32_t words)
{
    const uint16_t narrow[] = {0x12, 0x34, 0x56}, wide[] = {0x1234, 0x5678, 0x9ABC};
    const int size = bytes ? 1 : 2;
    std::string file;
    PutLittle(&file, words, 4);
    PutLittle(&file, bytes ? 1 : 0, 1);
    for (int i = 0; i < 12; ++i) PutLittle(&file, 0, 2);
    for (int i = 0; i < 3; ++i) PutLittle(&file, bytes ? narrow[i] : wide[i], size);
    file.append(static_cast<size_t>(size) * (words - 3), '\0');
    WriteDemoFile("small.bin", file);
    EXPECT_EQ(CameraTable[0].Ops.LoadSequencer((DemoFolder() + "small.bin").c_str(), 0), 1);
}

void Conversation::ExpectFile(const std::string& name)
{
    EmuRecord(false);
    const std::filesystem::path folder(QVN_SOURCE_DIR "/tests/traffic");
    const uint32_t physical = CameraTable[0].DmaAddress;
    TrafficValues values;
    values.emplace_back("buffer", Hex(physical / 4));
    EXPECT_EQ(TrafficFileDiffers(folder / name, values), "");
    EXPECT_EQ(EmuTraffic().find("stray"), std::string::npos);
}
