// What docs/adding-a-camera.md asks for, held for every platform that has a driver: a step that
// was forgotten fails by its name.
#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "core/binding.h"
#include "include/qvn_bench.h"

namespace {

using Codes = std::set<int32_t>;

constexpr int32_t Simulated = 1;

std::string FileText(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(QVN_SOURCE_DIR "/" + path, std::ios::binary).rdbuf();
    return text.str();
}

Codes Bound()
{
    Codes codes;
    for (const PlatformBinding* row = PlatformBindings; row->platform != 0; ++row) {
        codes.insert(row->platform);
    }
    return codes;
}

// Their virtual instruments by the text alone, so on the links that they usually have.
std::map<int32_t, int32_t> FindUsualLinks()
{
    std::map<int32_t, int32_t> links;
    QV_SetPathName(QVN_SOURCE_DIR "/share/qvn");
    for (const int32_t platform : Bound()) {
        const std::string text = "time=virtual;platform=" + std::to_string(platform);
        QvbInstrument instrument;
        if (QVB_Install(text.c_str(), nullptr, 0) != 0) continue;
        if (QVB_Instrument(0, &instrument) == 0) links[platform] = instrument.InterfaceType;
        QVB_Uninstall();
    }
    QV_SetPathName("");
    return links;
}

Codes UsuallyOn(int32_t link)
{
    static const std::map<int32_t, int32_t> links = FindUsualLinks();
    Codes codes;
    for (const auto& [platform, usual] : links) {
        if (usual == link) codes.insert(platform);
    }
    return codes;
}

// The numbers that `form` finds in the part of a file between two texts.
Codes NumbersIn(const std::string& path, const std::string& begin, const std::string& end,
                const char* form)
{
    const std::string text = FileText(path);
    const size_t first = text.find(begin), last = text.find(end, first);
    EXPECT_NE(first, std::string::npos) << path << " has no " << begin;
    if (first == std::string::npos || last == std::string::npos) return {};
    const std::string part = text.substr(first, last - first);
    const std::regex number(form);
    Codes codes;
    for (std::sregex_iterator i(part.begin(), part.end(), number), none; i != none; ++i) {
        codes.insert(std::stoi((*i)[1]));
    }
    return codes;
}

Codes Without(Codes codes, const Codes& others)
{
    for (const int32_t code : others) codes.erase(code);
    return codes;
}

} // namespace

TEST(NewCamera, HasANameAndSensors)
{
    for (const int32_t platform : Bound()) {
        int32_t sensors[SensorNameCount];
        EXPECT_TRUE(std::any_of(std::begin(PlatformNames), std::end(PlatformNames),
                                [&](const auto& row) { return row.code == platform; }))
            << platform << ": step 1, PlatformNames in catalogue/platforms.cpp";
        EXPECT_GT(CCDQuery(platform, sensors), 0)
            << platform << ": step 1, SensorLists in catalogue/sensors.cpp";
    }
}

// Another message than that of a platform which nobody made virtual is of the definitions.
TEST(NewCamera, CanBeVirtual)
{
    QV_SetPathName(QVN_SOURCE_DIR "/share/qvn");
    for (const int32_t platform : Without(Bound(), {Simulated})) {
        char error[512] = "";
        const std::string text = "time=virtual;platform=" + std::to_string(platform);
        const int32_t code = QVB_Install(text.c_str(), error, sizeof error);
        EXPECT_NE(code, QVB_ERROR_SPEC) << error << ": step 7, Rows in bench/instruments.cpp";
        EXPECT_TRUE(code == 0 || code == QVB_ERROR_SPEC)
            << error << ": step 2, share/qvn/platforms.csv and sensors.csv";
        QVB_Uninstall();
    }
    QV_SetPathName("");
}

TEST(NewCamera, IsNamedOnThePageOfVirtualCameras)
{
    EXPECT_EQ(
        NumbersIn("docs/virtual-cameras.md", "| `platform` | code or name: ", " |\n", "(\\d+)"),
        Without(Bound(), {Simulated}))
        << "step 7, the row `platform` in docs/virtual-cameras.md";
}

// What programs assume of a camera whose link nobody tells.
TEST(NewCamera, HasTheSameUsualLinkEverywhere)
{
    const Codes usb = UsuallyOn(QV_INTERFACE_USB);
    EXPECT_EQ(
        NumbersIn("tools/session.cpp", "UsualLinks[]", "};", "\\{(\\d+), QV_INTERFACE_USB\\}"), usb)
        << "step 8, UsualLinks in tools/session.cpp";
    EXPECT_EQ(NumbersIn("supervisor/open_calls.cpp", "UsbPlatforms[] = {", "};", "(\\d+)"), usb)
        << "step 8, UsbPlatforms in supervisor/open_calls.cpp";
    EXPECT_EQ(NumbersIn("python/qvn/opening.py", "_USB_PLATFORMS = (", ")", "(\\d+)"), usb)
        << "step 8, _USB_PLATFORMS in python/qvn/opening.py";
    EXPECT_EQ(NumbersIn("tools/session.cpp", "UsualLinks[]", "};",
                        "\\{(\\d+), QV_INTERFACE_PRINTER_PORT\\}"),
              UsuallyOn(QV_INTERFACE_PRINTER_PORT));
    EXPECT_EQ(NumbersIn("tools/session.cpp", "UsualLinks[]", "};",
                        "\\{(\\d+), QV_INTERFACE_PORT_CARD\\}"),
              UsuallyOn(QV_INTERFACE_PORT_CARD));
}

TEST(NewCamera, HasAWordThatTellsTheLayerIfItAnswers)
{
    EXPECT_EQ(NumbersIn("supervisor/link.cpp", "WordPlaces[] = {", "};", "\\{(\\d+),"),
              Without(Bound(), {Simulated}))
        << "step 8, WordPlaces in supervisor/link.cpp";
}

// Of those that the adaptor reaches, 28 is on USB as well.
TEST(NewCamera, HasATimeForItsRepliesOnUsb)
{
    Codes usb = UsuallyOn(QV_INTERFACE_USB);
    usb.insert(28);
    EXPECT_EQ(NumbersIn("supervisor/work.cpp", "LinkTimes[] = {", "};", "\\{(\\d+),"), usb)
        << "step 8, LinkTimes in supervisor/work.cpp";
}

// Cameras without a pattern file, and what else only some do, stand in tables of their own.
TEST(NewCamera, HasNoPatternWhereItsBuilderMakesNone)
{
    Codes without;
    for (const int32_t platform : Without(Bound(), {30})) {
        QvbWaveLines lines;
        int32_t sensors[SensorNameCount];
        CCDQuery(platform, sensors);
        const int32_t link = platform == 28 ? QV_INTERFACE_PCI_CARD : QV_INTERFACE_USB;
        if (QVB_WaveLines(platform, sensors[0], link, 1, &lines) != 0) without.insert(platform);
    }
    Codes layer = NumbersIn("supervisor/pattern.cpp", "BarePlatforms[] = {", "};", "\\{(\\d+),");
    layer.erase(30); // two of its sensors
    EXPECT_EQ(layer, without) << "step 8, the table in supervisor/pattern.cpp";
    EXPECT_EQ(NumbersIn("python/qvn/_hashes.py", "_WITHOUT_FILE = (", ")", "(\\d+)"), without)
        << "step 8, _WITHOUT_FILE in python/qvn/_hashes.py";
}
