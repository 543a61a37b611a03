// Header, list and library say the same.
#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <sstream>

#include "core/errors.h"
#include "core/options.h"
#include "core/record.h"
#include "include/qvn.h"
#include "tests/exports/header_c99.h"
#include "tests/exports/listing.h"

namespace {

constexpr size_t ExportedFunctions = 123;
constexpr char Library[] = QVN_BINARY_DIR "/libqvn.so";
constexpr char Workbench[] = QVN_BINARY_DIR "/libqvn_bench.so";
constexpr char Supervisor[] = QVN_BINARY_DIR "/libqvn_supervisor.so";

std::set<std::string> ListedTexts()
{
    std::set<std::string> texts;
    for (const Signature& signature : ListedSignatures()) texts.insert(signature.text);
    return texts;
}

std::set<std::string> ListedNames()
{
    std::set<std::string> names;
    for (const Signature& signature : ListedSignatures()) names.insert(signature.name);
    return names;
}

std::string WithoutComments(std::string text)
{
    for (size_t open = text.find("/*"); open != std::string::npos; open = text.find("/*", open)) {
        const size_t close = text.find("*/", open);
        text.replace(open, close == std::string::npos ? close : close + 2 - open, " ");
    }
    return text;
}

// Every declaration of a header, on one line and without its semicolon.
std::set<std::string> DeclaredTexts(const std::string& header, const std::string& api = "QVN_API")
{
    const std::string mark = "\n" + api + " ";
    const std::string code = WithoutComments(SourceText(header));
    std::set<std::string> texts;
    for (size_t i = code.find(mark); i != std::string::npos; i = code.find(mark, i + 1)) {
        const size_t begin = i + mark.size();
        texts.insert(Squeezed(code.substr(begin, code.find(';', begin) - begin)));
    }
    return texts;
}

std::set<std::string> DeclaredNames(const std::string& header, const std::string& api = "QVN_API")
{
    std::set<std::string> names;
    for (const std::string& text : DeclaredTexts(header, api)) {
        const size_t open = text.find('(');
        const size_t name = text.find_last_of(" *", open) + 1;
        names.insert(text.substr(name, open - name));
    }
    return names;
}

std::set<std::string> SymbolsOf(const std::string& library)
{
    std::set<std::string> symbols;
    std::istringstream lines(OutputOf(QVN_NM " -D --defined-only " + library));
    for (std::string line; std::getline(lines, line);) {
        symbols.insert(line.substr(line.find_last_of(' ') + 1));
    }
    return symbols;
}

TEST(Exports, ListHoldsEachFunctionOnce)
{
    EXPECT_EQ(ListedSignatures().size(), ExportedFunctions);
    EXPECT_EQ(ListedNames().size(), ExportedFunctions);
}

TEST(Exports, HeaderDeclaresWhatIsListedAndNothingElse)
{
    EXPECT_EQ(DeclaredTexts("include/qvn.h"), ListedTexts());
}

TEST(Exports, LibraryExportsWhatIsListedAndNothingElse)
{
    EXPECT_EQ(SymbolsOf(Library), ListedNames());
}

TEST(Exports, WorkbenchExportsTheLibraryAndItsOwnHeader)
{
    std::set<std::string> names = DeclaredNames("include/qvn_bench.h");
    ASSERT_FALSE(names.empty());
    for (const std::string& name : names) EXPECT_EQ(name.rfind("QVB_", 0), 0u) << name;
    names.merge(ListedNames());
    EXPECT_EQ(SymbolsOf(Workbench), names);
}

TEST(Exports, SupervisorExportsItsHeaderAndNothingElse)
{
    const std::set<std::string> names = DeclaredNames("include/qvn_supervisor.h", "QVNS_API");
    ASSERT_FALSE(names.empty());
    for (const std::string& name : names) EXPECT_EQ(name.rfind("qvns_", 0), 0u) << name;
    EXPECT_EQ(SymbolsOf(Supervisor), names);
}

TEST(Exports, LibraryIsKnownByItsMajorVersion)
{
    const std::string dynamic = OutputOf(QVN_READELF " -d " + std::string(Library));
    EXPECT_NE(dynamic.find("soname: [libqvn.so.7]"), std::string::npos) << dynamic;
    const std::string bench = OutputOf(QVN_READELF " -d " + std::string(Workbench));
    EXPECT_NE(bench.find("soname: [libqvn_bench.so.7]"), std::string::npos) << bench;
    const std::string supervisor = OutputOf(QVN_READELF " -d " + std::string(Supervisor));
    EXPECT_NE(supervisor.find("soname: [libqvn_supervisor.so.7]"), std::string::npos) << supervisor;
}

TEST(Exports, LibraryStaysLoadedWhileItsTimerMayRun)
{
    for (const std::string library : {Library, Workbench, Supervisor}) {
        const std::string dynamic = OutputOf(QVN_READELF " -d " + library);
        EXPECT_NE(dynamic.find("NODELETE"), std::string::npos) << dynamic;
    }
}

void ExpectComments(const std::string& header)
{
    std::istringstream lines(SourceText(header));
    std::string before;
    bool inside = false; // a declaration that goes over several lines
    for (std::string line; std::getline(lines, line);) {
        const bool begins = line.rfind("QVN_API", 0) == 0 || line.rfind("QVNS_API", 0) == 0;
        if (begins) {
            const bool commented = before.size() >= 2 && before.substr(before.size() - 2) == "*/";
            const bool grouped = !before.empty() && before.back() == ';';
            EXPECT_TRUE(commented || grouped) << line;
        }
        if (begins) inside = true;
        if (inside && line.find(';') != std::string::npos) inside = false;
        before = line;
    }
}

TEST(Exports, NoDeclarationStandsWithoutAComment)
{
    ExpectComments("include/qvn.h");
    ExpectComments("include/qvn_bench.h");
    ExpectComments("include/qvn_supervisor.h");
}

TEST(Exports, RecordsLieTheSameInCAndCpp)
{
    const size_t here[] = {
        sizeof(CameraConfig),
        offsetof(CameraConfig, PciIndex),
        offsetof(CameraConfig, ShutterHisteresys),
        offsetof(CameraConfig, DefectiveList),
        sizeof(CcdDefinition),
        offsetof(CcdDefinition, Dummy),
        offsetof(CcdDefinition, XpixDim),
        sizeof(PlatformDefinition),
        offsetof(PlatformDefinition, TimeBase),
        offsetof(PlatformDefinition, Gain),
    };
    for (size_t i = 0; i < std::size(here); ++i) EXPECT_EQ(CLayout[i], here[i]) << i;
    EXPECT_EQ(CanBeUsedFromC(), 1);
}

TEST(Exports, HeaderNamesTheErrorCodesOfTheLibrary)
{
    const int32_t named[] = {
        QV_ERROR_NONE,
        QV_ERROR_CAMERA_NOT_FOUND,
        QV_ERROR_LINK_FAILURE,
        QV_ERROR_UNSUPPORTED_PLATFORM,
        QV_ERROR_INTERFACE_LOCKED,
        QV_ERROR_PLATFORM_DEFINITION,
        QV_ERROR_CCD_DEFINITION,
        QV_ERROR_FILTER_WHEEL_ZERO,
        QV_ERROR_PATTERN_OVERFLOW,
        QV_ERROR_DMA_BUFFER,
        QV_ERROR_SERIALIZER_NOT_LINKED,
        QV_ERROR_SERIAL_DECODER,
        QV_ERROR_ARRAY_PLATFORM,
        QV_ERROR_DRIVER_HANDLE,
        QV_ERROR_CARD_NOT_FOUND,
        QV_ERROR_IMAGE_BUFFER,
        QV_ERROR_NO_USB_DEVICE,
        QV_ERROR_USB_OPEN,
        QV_ERROR_PORT_LIBRARY,
        QV_ERROR_ADAPTOR_LIBRARY,
        QV_ERROR_PATTERN_MEMORY,
        QV_ERROR_PATTERN_FILE,
        QV_ERROR_COPROCESSOR,
        QV_ERROR_ARM,
        QV_ERROR_REGISTER_TEST,
        QV_ERROR_POWER_SUPPLY,
        QV_ERROR_DSP_OUT_OF_DATE,
    };
    const int32_t meant[] = {
        ErrorNone,
        ErrorCameraNotFound,
        ErrorLinkFailure,
        ErrorUnsupportedPlatform,
        ErrorInterfaceLocked,
        ErrorPlatformDefinition,
        ErrorCcdDefinition,
        ErrorFilterWheelZero,
        ErrorPatternOverflow,
        ErrorDmaBuffer,
        ErrorSerializerNotLinked,
        ErrorSerialDecoder,
        ErrorArrayPlatform,
        ErrorDriverHandle,
        ErrorCardNotFound,
        ErrorImageBuffer,
        ErrorNoUsbDevice,
        ErrorUsbOpen,
        ErrorPortLibrary,
        ErrorAdaptorLibrary,
        ErrorPatternMemory,
        ErrorPatternFile,
        ErrorCoprocessor,
        ErrorArm,
        ErrorRegisterTest,
        ErrorPowerSupply,
        ErrorDspOutOfDate,
    };
    ASSERT_EQ(std::size(named), std::size(meant));
    for (size_t i = 0; i < std::size(named); ++i) EXPECT_EQ(named[i], meant[i]) << i;
}

TEST(Exports, HeaderNamesTheOptionsOfTheLibrary)
{
    const uint32_t named[] = {
        QV_OPTION_SERVICE,          QV_OPTION_REGULATION,        QV_OPTION_EXTERNAL_TRIGGER,
        QV_OPTION_KEEP_CLEAN,       QV_OPTION_EXTERNAL_EXPOSURE, QV_OPTION_SILENT,
        QV_OPTION_COOLER_LINE_LOW,  QV_OPTION_SMOOTH_LINES,      QV_OPTION_CLEAR_WHILE_EXPOSING,
        QV_OPTION_LIMIT_COOLER,     QV_OPTION_FAN_AT_EXPOSURE,   QV_OPTION_PORT_LIBRARY,
        QV_OPTION_PRIORITY,         QV_OPTION_CARD_DMA,          QV_OPTION_NO_AUTO_DMA,
        QV_OPTION_INTERNAL_BUFFERS,
    };
    const uint32_t meant[] = {
        OptionService,         OptionRegulation,       OptionExternalTrigger,
        OptionKeepClean,       OptionExternalExposure, OptionSilent,
        OptionCoolerLineLow,   OptionSmoothLines,      OptionClearWhileExposing,
        OptionLimitCooler,     OptionFanAtExposure,    OptionPortLibrary,
        OptionPriority,        OptionCardDma,          OptionNoAutoDma,
        OptionInternalBuffers,
    };
    ASSERT_EQ(std::size(named), std::size(meant));
    for (size_t i = 0; i < std::size(named); ++i) EXPECT_EQ(named[i], meant[i]) << i;
}

TEST(Exports, HeaderNamesTheSizesOfTheLibrary)
{
    EXPECT_EQ(QV_CAMERAS, CameraCount);
    EXPECT_EQ(QV_MATRIX_BUFFERS, MatrixCount);
    EXPECT_EQ(QV_HISTORY_LENGTH, HistoryLength);
}

} // namespace
