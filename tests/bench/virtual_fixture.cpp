#include "tests/bench/virtual_fixture.h"

#include <fstream>
#include <sstream>
#include <unistd.h>

namespace {

// A sensor of 24 x 16 behind 4 leading cells, on a few platforms; two more like it for those
// that do not carry it.
std::string Definitions()
{
    const char* const sensors[] = {"kaf400e", "kaf1000", "kai01050"};
    std::string text = "rmk_camera_library: {\n ccd_definitions: {\n";
    for (const char* sensor : sensors) {
        text += std::string("  ") + sensor +
                ": { Xpix = 24; Ypix = 16; Dummy = [ 4, 2, 2, 1 ]; HorDummyPix = 4; HorRegSize = "
                "32; };\n";
    }
    text += " };\n camera_platforms: {\n";
    for (const char* platform :
         {"Tarn_III", "Tarn_IV", "BRIAR", "BRIAR-ISA", "BRIAR-PCI", "BRIAR-R3", "HERON", "uNOD",
          "uNOD_II", "Tarn_V", "Tarn_U", "R4-DSP", "HERON_Plus", "OSPREY", "OSPREY_Plus", "WREN",
          "TOLM", "TOLM_E"}) {
        text +=
            std::string("  ") + platform + ": { ADbit = [ 16, 0 ]; TimeBase = 40.0; FpgaId = 42;\n";
        for (const char* sensor : sensors) {
            text += std::string("   ") + sensor +
                    ": { SamplingClock = [ 0.5, 0.5 ]; VerticalPhasePeriod = 5; };\n";
        }
        text += "  };\n";
    }
    return text + " };\n};\n";
}

} // namespace

void VirtualWorld::SetUp()
{
    folder =
        std::filesystem::path(testing::TempDir()) / ("qvn_virtual_" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "qvn.cfg") << Definitions();
    QV_SetPathName(folder.c_str());
}

void VirtualWorld::TearDown()
{
    for (int32_t camera = 0; camera < QV_CAMERAS; ++camera) QV_Close(camera);
    EXPECT_EQ(QVB_Uninstall(), 0);
    QV_SetPathName("");
    std::filesystem::remove_all(folder);
}

int32_t VirtualWorld::Install(const std::string& text)
{
    char room[1024] = "untouched";
    const int32_t code = QVB_Install(text.c_str(), room, sizeof room);
    error = room;
    return code;
}

void VirtualWorld::ExpectRefused(const std::string& text, const std::string& part)
{
    EXPECT_EQ(Install(text), QVB_ERROR_SPEC) << text;
    EXPECT_NE(error.find(part), std::string::npos) << text << ": " << error;
    EXPECT_EQ(QVB_InstrumentCount(), 0) << text;
}

void VirtualWorld::Open(int32_t index, uint32_t options)
{
    QvbInstrument instrument;
    ASSERT_EQ(QVB_Instrument(index, &instrument), 0);
    CameraConfig config;
    QV_InitCfg(&config);
    config.InterfaceLink = instrument.InterfaceLink;
    config.FilterWheel = instrument.FilterWheel;
    QV_InitOptions(&config, instrument.Camera);
    QV_Open(instrument.Platform, instrument.Sensor, instrument.InterfaceAddress,
            instrument.InterfaceType, 0, instrument.Camera, options, nullptr, nullptr);
}

std::vector<uint16_t> VirtualWorld::Frame(int32_t shutter, int32_t camera)
{
    std::vector<uint16_t> pixels(static_cast<size_t>(QV_GetDimX(camera)) *
                                 static_cast<size_t>(QV_GetDimY(camera)));
    QV_GetCCD(shutter, 0.1, pixels.data(), camera);
    EXPECT_EQ(QV_Status(camera), 0);
    return pixels;
}

std::string VirtualWorld::TextOf(const std::string& name)
{
    std::ostringstream text;
    text << std::ifstream(Path(name)).rdbuf();
    return text.str();
}

std::vector<uint16_t> Ramp(int32_t n, int32_t firstRow)
{
    std::vector<uint16_t> pixels;
    for (int32_t row = firstRow; row < firstRow + Rows; row += n) {
        for (int32_t column = 0; column < Columns; column += n) {
            int32_t sum = 0;
            for (int32_t y = row; y < row + n && y < Rows; ++y) {
                for (int32_t x = column; x < column + n; ++x) sum += x + y;
            }
            pixels.push_back(static_cast<uint16_t>(sum));
        }
    }
    return pixels;
}
