// Calls every export of libqvn.so through its dynamic symbol, as a host does,
// with arguments that no host should pass.
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <type_traits>
#include <unistd.h>
#include <utility>

#include "include/qvn.h"
#include "tests/exports/listing.h"

namespace {

constexpr size_t ArenaBytes = 1 << 16; // more than the longest block, 7200 doubles
constexpr unsigned char Untouched = 0xA5;

// What a call is given: one camera number, one value for every other number,
// one text, and one place for every other pointer.
struct Plan {
    int32_t camera = 0;
    double number = 0.0;
    void* data = nullptr;
    uint16_t** buffers = nullptr;
    const char* text = nullptr;
};

template <typename T> T Argument(const Plan& plan, bool isCamera)
{
    if constexpr (std::is_floating_point_v<T>) {
        return plan.number;
    } else if constexpr (std::is_arithmetic_v<T>) {
        if (isCamera) return static_cast<T>(plan.camera);
        return std::isnan(plan.number) ? T{0} : static_cast<T>(static_cast<int64_t>(plan.number));
    } else if constexpr (std::is_same_v<T, uint16_t**>) {
        return plan.buffers;
    } else if constexpr (std::is_same_v<T, const char*>) {
        return plan.text;
    } else if constexpr (std::is_function_v<std::remove_pointer_t<T>>) {
        return nullptr;
    } else {
        return static_cast<T>(plan.data);
    }
}

bool IsCamera(const Signature& signature, size_t index)
{
    return index < signature.parameters.size() && signature.parameters[index] == "int32_t camera";
}

bool TakesCamera(const Signature& signature)
{
    for (size_t i = 0; i < signature.parameters.size(); ++i) {
        if (IsCamera(signature, i)) return true;
    }
    return false;
}

// The call of one export; true if its result, where it has one, is 0 or null.
template <typename Function> struct Caller;

template <typename Result, typename... Types> struct Caller<Result(Types...)> {
    static bool Call(void* symbol, const Plan& plan, const Signature& signature)
    {
        return Call(symbol, plan, signature, std::index_sequence_for<Types...>());
    }

    template <size_t... I>
    static bool Call(void* symbol, [[maybe_unused]] const Plan& plan,
                     [[maybe_unused]] const Signature& signature, std::index_sequence<I...>)
    {
        const auto function = reinterpret_cast<Result (*)(Types...)>(symbol);
        if constexpr (std::is_void_v<Result>) {
            function(Argument<Types>(plan, IsCamera(signature, I))...);
            return true;
        } else {
            return function(Argument<Types>(plan, IsCamera(signature, I))...) == Result{};
        }
    }
};

struct Row {
    const char* name;
    bool (*call)(void* symbol, const Plan& plan, const Signature& signature);
};

#define ROW(name)                                                                                  \
    {                                                                                              \
#name, Caller < decltype(name)> ::Call                                                     \
    }

// clang-format off
const Row Rows[] = {
    ROW(QV_Status),
    ROW(QV_ErrorMessage),
    ROW(QV_ErrorMessageVB),
    ROW(QV_Ver),
    ROW(QV_WDVer),
    ROW(QV_MaxNumbers),
    ROW(QV_SetPathName),
    ROW(QV_Delay),
    ROW(QV_IsOn),
    ROW(QV_GetMode),
    ROW(QV_SetMode),
    ROW(QV_BrkFlg),
    ROW(QV_BckGnd),
    ROW(QV_BckBusy),
    ROW(QV_RWData),
    ROW(QV_SetKZBPCI),
    ROW(QV_InitCfg),
    ROW(QV_InitOptions),
    ROW(QV_LibraryInit),
    ROW(QV_Open),
    ROW(_QV_Open),
    ROW(QV_OpenByConfig),
    ROW(QV_OpenByFile),
    ROW(_QV_OpenByFile),
    ROW(QV_OpenPar),
    ROW(QV_Close),
    ROW(QV_Select),
    ROW(QV_SubSelect),
    ROW(QV_StopNow),
    ROW(QV_StartNow),
    ROW(QV_SetFunction),
    ROW(QV_ClearCCD),
    ROW(QV_CamQuery),
    ROW(QV_CCDQuery),
    ROW(QV_CCDtoName),
    ROW(QV_CCDtoNameVB),
    ROW(QV_PTFtoName),
    ROW(QV_PTFtoNameVB),
    ROW(QV_FamtoName),
    ROW(QV_FamtoNameVB),
    ROW(QV_PtfName),
    ROW(QV_PtfNameVB),
    ROW(QV_GetDimX),
    ROW(QV_GetDimY),
    ROW(QV_GetCCDX),
    ROW(QV_GetCCDY),
    ROW(QV_GetCCDdata),
    ROW(QV_GetHPdata),
    ROW(QV_LoadCCD),
    ROW(QV_SaveCCD),
    ROW(QV_LoadPlatform),
    ROW(QV_SavePlatform),
    ROW(QV_LoadCameraConfig),
    ROW(QV_SaveCameraConfig),
    ROW(QV_GetCCD),
    ROW(QV_FGetCCD),
    ROW(QV_TGetCCD),
    ROW(QV_GetWinCCD),
    ROW(QV_FGetWinCCD),
    ROW(QV_GetCCDPulsed),
    ROW(QV_GetWinCCDPulsed),
    ROW(QV_Matrix),
    ROW(QV_MatrixPointer),
    ROW(QV_MatrixSet),
    ROW(QV_MatrixGet),
    ROW(QV_MatrixRead),
    ROW(QV_MatrixSize),
    ROW(QV_Kinetics),
    ROW(QV_KineticsCCD),
    ROW(QV_ArmAcquisition),
    ROW(QV_StartAcquisition),
    ROW(QV_GetImage),
    ROW(QV_FlushAcquisition),
    ROW(QV_ArmTimerHandle),
    ROW(QV_OpenArray),
    ROW(QV_AGetCCD),
    ROW(QV_SetDNR),
    ROW(QV_GetDNR),
    ROW(QV_SetBitDecimation),
    ROW(QV_SetTemp),
    ROW(QV_GetTemp),
    ROW(QV_ReadTemp),
    ROW(QV_Cooler),
    ROW(QV_CoolerStatus),
    ROW(QV_SetPower),
    ROW(QV_GetPower),
    ROW(QV_TempCalib),
    ROW(QV_TemperatureHandle),
    ROW(QV_GetTempHistory),
    ROW(QV_CheckTempEquil),
    ROW(QV_Shutter),
    ROW(QV_ShutterControl),
    ROW(QV_Trigger),
    ROW(QV_SetFilter),
    ROW(QV_CalibFW),
    ROW(QV_OpenFW),
    ROW(QV_SetFW),
    ROW(QV_IsThereFW),
    ROW(QV_ObjectiveControl),
    ROW(QV_Plug),
    ROW(QV_SetBinning),
    ROW(QV_GetBinning),
    ROW(QV_SetGain),
    ROW(QV_GetGain),
    ROW(QV_SetUsrGain),
    ROW(QV_SetFanSpeed),
    ROW(QV_GetKZBPCIAddress),
    ROW(QV_GetKZBPCIRevision),
    ROW(QV_ReadEP),
    ROW(QV_WriteEP),
    ROW(QV_GetSerNum),
    ROW(QV_SetSerNum),
    ROW(QV_WRReg),
    ROW(QV_RDReg),
    ROW(QV_RMReg),
    ROW(QV_WMReg),
    ROW(QV_GetStatus),
    ROW(QV_Poke),
    ROW(QV_Peek),
    ROW(QV_PokeW),
    ROW(QV_PeekW),
    ROW(QV_QuerySts),
    ROW(QV_GetAD),
};
// clang-format on

// A folder with a definition file for the simulated camera, gone at the end.
struct SampleFolder {
    std::filesystem::path path;

    SampleFolder()
    {
        path = std::filesystem::path(testing::TempDir()) / ("exports" + std::to_string(getpid()));
        std::filesystem::create_directories(path);
    }
    ~SampleFolder() { std::filesystem::remove_all(path); }

    void WriteDefinitions() const
    {
        std::ofstream(path / "qvn.cfg")
            << "rmk_camera_library: {\n"
               "  ccd_definitions: { kaf1600: { Xpix = 64; Ypix = 48; HorRegSize = 70; }; };\n"
               "  camera_platforms: { DEMO: {\n"
               "    ADbit = [16, 0]; File = \"sky.raw\"; Xpix = 64; Ypix = 48;\n"
               "    kaf1600: { SamplingClock = [1.0, 1.0]; };\n"
               "  }; };\n"
               "};\n";
        const std::string pixels(64 * 48 * 2, '\1');
        std::ofstream(path / "sky.raw", std::ios::binary) << pixels;
    }
};

class Walk : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        Library = dlopen(QVN_BINARY_DIR "/libqvn.so", RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(Library, nullptr) << dlerror();
    }

    void SetUp() override
    {
        ASSERT_NE(Library, nullptr);
        memset(Arena.data(), Untouched, Arena.size());
        for (size_t i = 0; i < Buffers.size(); ++i) {
            Buffers[i] = reinterpret_cast<uint16_t*>(Arena.data());
        }
        Get<decltype(QV_SetPathName)>("QV_SetPathName")(Folder.path.c_str());
    }

    // Camera 0 is left as the first test found it, whatever it was given.
    void TearDown() override
    {
        Get<decltype(QV_Close)>("QV_Close")(0);
        for (int32_t index = 0; index < QV_MATRIX_BUFFERS; ++index) {
            Get<decltype(QV_MatrixSet)>("QV_MatrixSet")(index, 0);
            Get<decltype(QV_Matrix)>("QV_Matrix")(QV_MATRIX_FREE, 0);
        }
        Get<decltype(QV_ArmTimerHandle)>("QV_ArmTimerHandle")(QV_TIMER_ARM, 0);
    }

    void OpenSimulatedCamera() const
    {
        Folder.WriteDefinitions();
        Get<decltype(QV_SetPathName)>("QV_SetPathName")(Folder.path.c_str());
        Get<decltype(_QV_Open)>("_QV_Open")(QV_PLATFORM_DEMO, 275, 0, 0, 0, 0, 0);
        ASSERT_EQ(Get<decltype(QV_Status)>("QV_Status")(0), QV_ERROR_NONE);
    }

    template <typename Function> static Function* Get(const char* name)
    {
        void* symbol = dlsym(Library, name);
        EXPECT_NE(symbol, nullptr) << name;
        return reinterpret_cast<Function*>(symbol);
    }

    static bool Call(const Row& row, const Plan& plan)
    {
        void* symbol = dlsym(Library, row.name);
        const Signature* signature = FindSignature(row.name);
        EXPECT_NE(symbol, nullptr) << row.name;
        EXPECT_NE(signature, nullptr) << row.name;
        return symbol != nullptr && signature != nullptr && row.call(symbol, plan, *signature);
    }

    bool ArenaUntouched() const
    {
        for (const unsigned char byte : Arena) {
            if (byte != Untouched) return false;
        }
        return true;
    }

    // All that the library tells of its eight cameras.
    static std::string Snapshot()
    {
        std::string text;
        char block[4][88] = {};
        for (int32_t camera = 0; camera < QV_CAMERAS; ++camera) {
            for (int32_t what = QV_DATA_CCD; what <= QV_DATA_FAMILY; ++what) {
                Get<decltype(QV_RWData)>("QV_RWData")(what, 1, block[what], camera);
                text.append(block[what], sizeof block[what]);
            }
            for (const char* name : {"QV_Status", "QV_IsOn", "QV_MatrixGet", "QV_CoolerStatus",
                                     "QV_GetDimX", "QV_GetDimY", "QV_GetGain"}) {
                text += std::to_string(Get<int32_t(int32_t)>(name)(camera)) + " ";
            }
            text += std::to_string(Get<decltype(QV_GetTemp)>("QV_GetTemp")(nullptr, 1, camera));
            text += std::to_string(Get<decltype(QV_GetPower)>("QV_GetPower")(camera));
        }
        return text;
    }

    static inline void* Library = nullptr;
    SampleFolder Folder;
    alignas(16) std::array<unsigned char, ArenaBytes> Arena;
    std::array<uint16_t*, 8> Buffers;
};

TEST(WalkTable, HoldsEveryExport)
{
    std::set<std::string> walked;
    std::set<std::string> listed;
    for (const Row& row : Rows) walked.insert(row.name);
    for (const Signature& signature : ListedSignatures()) listed.insert(signature.name);
    EXPECT_EQ(walked, listed);
}

TEST_F(Walk, CameraNumbersOutsideTheTableDoNothingAndGiveZero)
{
    const std::string before = Snapshot();
    for (const int32_t camera : {-1, 8, 1000, INT32_MIN, INT32_MAX}) {
        for (const Row& row : Rows) {
            if (!TakesCamera(*FindSignature(row.name))) continue;
            SCOPED_TRACE(std::string(row.name) + " with camera " + std::to_string(camera));
            EXPECT_TRUE(Call(row, {camera, 1.0, Arena.data(), Buffers.data(), "nowhere"}));
            EXPECT_TRUE(ArenaUntouched());
        }
    }
    EXPECT_EQ(Snapshot(), before);
}

TEST_F(Walk, ConfigurationOfACameraOutsideTheTableOpensNothing)
{
    const auto open = Get<decltype(QV_OpenByConfig)>("QV_OpenByConfig");
    const std::string before = Snapshot();
    for (const int32_t camera : {-1, 8, 1000, INT32_MIN, INT32_MAX}) {
        CameraConfig config = {};
        config.Platform = QV_PLATFORM_DEMO;
        config.CCD = 275;
        config.PciIndex = camera;
        EXPECT_EQ(open(&config, 0, nullptr, nullptr), nullptr) << camera;
    }
    EXPECT_EQ(Snapshot(), before);
}

TEST_F(Walk, NullPointersOnAClosedCameraAreSurvived)
{
    for (const Row& row : Rows) {
        SCOPED_TRACE(row.name);
        Call(row, {});
    }
    EXPECT_EQ(Get<decltype(QV_IsOn)>("QV_IsOn")(0), 0);
}

TEST_F(Walk, NullPointersOnAnOpenCameraAreSurvived)
{
    OpenSimulatedCamera();
    for (const Row& row : Rows) {
        if (strcmp(row.name, "QV_Close") == 0) continue;
        SCOPED_TRACE(row.name);
        Call(row, {});
    }
    EXPECT_EQ(Get<decltype(QV_IsOn)>("QV_IsOn")(0), 1);
}

// Left out: what would sleep or wait for as long as it was told to, and the
// option word, whose bits make every later call wait for a timer.
TEST_F(Walk, AbsurdNumbersOnAClosedCameraAreSurvived)
{
    const std::set<std::string> leftOut = {"QV_Delay", "QV_Trigger", "QV_SetMode",
                                           "QV_Open",  "_QV_Open",   "QV_OpenArray"};
    for (const double number : {-1.0, 2147483647.0, -2147483648.0, std::nan("")}) {
        for (const Row& row : Rows) {
            if (leftOut.count(row.name) != 0) continue;
            SCOPED_TRACE(std::string(row.name) + " with " + std::to_string(number));
            Call(row, {0, number, nullptr, nullptr});
        }
    }
    EXPECT_EQ(Get<decltype(QV_IsOn)>("QV_IsOn")(0), 0);
}

// Left out besides: closing, and writing a definition of random bytes, which
// asks for a gigabyte of frame.
TEST_F(Walk, NegativeNumbersOnAnOpenCameraAreSurvived)
{
    const std::set<std::string> leftOut = {"QV_Delay", "QV_Trigger", "QV_SetMode", "QV_Close",
                                           "QV_RWData"};
    for (const double number : {0.0, -1.0, -2147483648.0}) {
        OpenSimulatedCamera();
        for (const Row& row : Rows) {
            if (leftOut.count(row.name) != 0) continue;
            SCOPED_TRACE(std::string(row.name) + " with " + std::to_string(number));
            Call(row, {0, number, Arena.data(), Buffers.data(), "nowhere"});
        }
        EXPECT_EQ(Get<decltype(QV_IsOn)>("QV_IsOn")(0), 1);
        Get<decltype(QV_Close)>("QV_Close")(0);
    }
}

TEST_F(Walk, AbsurdCodesOpenNothing)
{
    for (const int32_t code : {-1, INT32_MAX, INT32_MIN}) {
        Get<decltype(_QV_Open)>("_QV_Open")(code, code, code, code, code, 0, 0);
        EXPECT_EQ(Get<decltype(QV_IsOn)>("QV_IsOn")(0), 0) << code;
        EXPECT_EQ(Get<decltype(QV_Status)>("QV_Status")(0), QV_ERROR_PLATFORM_DEFINITION) << code;
    }
}

} // namespace
