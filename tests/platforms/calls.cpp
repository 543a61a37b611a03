// Every exported function once, with arguments that have an effect where there can be one.
#include "tests/platforms/probe.h"

#include <cstring>

#include "core/flags.h"
#include "emulator/bus_camera.h"
#include "emulator/usb_camera.h"

namespace {

constexpr int32_t C = BenchCamera;
constexpr double Exposure = 0.01; // that the record holds before: a read that does nothing shows
constexpr int32_t Reg = 5;
constexpr uint16_t Mask = 0x1; // an array of one head

template <typename T> int64_t IsSet(T result)
{
    return result != T{} ? 1 : 0;
}

template <typename T> T* Out(Bench& b)
{
    return static_cast<T*>(b.out);
}

void NoReport(const char*, int32_t) {}

void WriteConfig(Bench& b)
{
    QV_SaveCameraConfig("camera.cfg", &b.config);
}

void ShowRegister(Bench& b)
{
    b.record->Registers[Reg] = 7;
    b.record->ByteRegisters[Reg] = 7;
}

// The wheels that a camera can have, one after the other.
struct WheelChoice {
    int32_t kind;
    EmuWheelKind fitted;
};

EmuWheelKind StepperOf(int32_t platform)
{
    return platform < 44 ? EmuPhaseWheel : EmuStepWheel;
}

void FitWheel(Bench& b, EmuWheelKind kind)
{
    EmuWheelSetup setup;
    setup.kind = kind;
    EmuWheel* const wheel = b.variant.link == QV_INTERFACE_USB ? EmuUsbWheel(C) : EmuBusWheel(0);
    if (wheel != nullptr) *wheel = EmuMakeWheel(setup);
}

int64_t WithEachWheel(Bench& b, void (*call)())
{
    const int32_t platform = b.variant.platform;
    const bool isOwn = platform == 48 || platform == 300 || platform == 450;
    const bool hasNibbles = platform == 60 || platform == 61 || platform == 200;
    const WheelChoice choices[] = {
        {1, StepperOf(platform)}, {3, EmuNibbleWheel}, {4, EmuByteWheel}};
    for (const WheelChoice& choice : choices) {
        const EmuWheelKind fitted = isOwn        ? EmuOwnWheel
                                    : hasNibbles ? EmuNibbleWheel
                                                 : choice.fitted;
        FitWheel(b, fitted);
        b.record->Config.FilterWheel = choice.kind;
        b.record->FilterPosition = 1;
        call();
    }
    b.record->Config.FilterWheel = 0;
    b.record->FilterPosition = 1;
    FitWheel(b, EmuNoWheel);
    return 0;
}

void OpenWithoutCallbacks(Bench& b)
{
    _QV_Open(b.variant.platform, b.variant.sensor, b.address, b.variant.link, 0, C,
             QV_OPTION_SILENT);
}

void ReadArray(Bench& b)
{
    const double exposures[8] = {};
    uint16_t* buffers[8] = {b.pixels};
    QV_AGetCCD(1, exposures, buffers, C);
}

int32_t PlugValues()
{
    uint32_t values[4] = {1, 2, 3, 4};
    return QV_Plug(0, values, C);
}

// The call, without or with a result, and what is done ahead of it or behind it.
#define DOES(...)                                                                                  \
    [](Bench& b) {                                                                                 \
        static_cast<void>(b);                                                                      \
        __VA_ARGS__;                                                                               \
        return int64_t{0};                                                                         \
    }
#define GIVES(...)                                                                                 \
    [](Bench& b) {                                                                                 \
        static_cast<void>(b);                                                                      \
        return IsSet(__VA_ARGS__);                                                                 \
    }
#define WITH(...)                                                                                  \
    [](Bench& b) {                                                                                 \
        static_cast<void>(b);                                                                      \
        __VA_ARGS__;                                                                               \
    }

// clang-format off
const std::vector<Call> All = {
    // camera table and status
    {"QV_Status", GIVES(QV_Status(C)), Start::Open,
        WITH(StoreFlag(&b.record->LastError, 2))},
    {"QV_ErrorMessage", GIVES(QV_ErrorMessage(2))},
    {"QV_ErrorMessageVB", DOES(QV_ErrorMessageVB(2, Out<char>(b)))},
    {"QV_Ver", GIVES(QV_Ver(nullptr))},
    {"QV_WDVer", GIVES(QV_WDVer(Out<char>(b), C))},
    {"QV_MaxNumbers", GIVES(QV_MaxNumbers(C))},
    {"QV_SetPathName", DOES(QV_SetPathName("elsewhere"))},
    {"QV_Delay", DOES(QV_Delay(10))},
    {"QV_IsOn", GIVES(QV_IsOn(C))},
    {"QV_GetMode", GIVES(QV_GetMode(C))},
    {"QV_SetMode", DOES(QV_SetMode(0x200, 1, C)), Start::Open, nullptr,
        WITH(QV_SetMode(0x200, 0, C))},
    {"QV_BrkFlg", DOES(QV_BrkFlg(C)), Start::Open,
        WITH(StoreFlag(&b.record->BreakFlag, int8_t{0}))},
    {"QV_BckGnd", GIVES(QV_BckGnd(C)), Start::Open,
        WITH(StoreFlag(&b.record->BackgroundTicks, 3))},
    {"QV_BckBusy", GIVES(QV_BckBusy(C)), Start::Open,
        WITH(StoreFlag(&b.record->TickDuration, 4))},
    {"QV_RWData", DOES(QV_RWData(0, 1, b.out, C))},
    {"QV_SetKZBPCI", DOES(QV_SetKZBPCI(5, C)), Start::Open, nullptr,
        WITH(QV_SetKZBPCI(C, C))},
    {"QV_InitCfg", DOES(QV_InitCfg(Out<CameraConfig>(b)))},
    {"QV_InitOptions", DOES(QV_InitOptions(&b.config, C)), Start::Open,
        WITH(b.record->Config.AD = 9)},

    // open, close, selection
    {"QV_LibraryInit", DOES(QV_LibraryInit())},
    {"QV_Open", DOES(OpenBench(b)), Start::Closed},
    {"_QV_Open", DOES(OpenWithoutCallbacks(b)), Start::Closed},
    {"QV_OpenByConfig", DOES(QV_OpenByConfig(&b.config, 0, nullptr, nullptr)), Start::Closed},
    {"QV_OpenByFile", DOES(QV_OpenByFile("camera.cfg", 0, nullptr, nullptr)), Start::Closed,
        WriteConfig},
    {"_QV_OpenByFile", DOES(_QV_OpenByFile("camera.cfg", 0)), Start::Closed, WriteConfig},
    {"QV_OpenPar", DOES(QV_OpenPar(b.variant.platform, b.variant.sensor, C)), Start::Open,
        WITH(b.record->Ccd.CCF = 77.0)},
    {"QV_Close", DOES(QV_Close(C))},
    {"QV_Select", DOES(QV_Select(C)), Start::Array},
    {"QV_SubSelect", DOES(QV_SubSelect(C, 2)), Start::Open, nullptr,
        WITH(QV_SubSelect(C, 0))},
    {"QV_StopNow", DOES(QV_StopNow(C)), Start::Open, nullptr,
        WITH(QV_StartNow(C))},
    {"QV_StartNow", DOES(QV_StartNow(C)), Start::Open,
        WITH(QV_StopNow(C))},
    {"QV_SetFunction", DOES(QV_SetFunction(65, reinterpret_cast<void*>(NoReport), C))},
    {"QV_ClearCCD", DOES(QV_ClearCCD(C))},

    // catalogue and queries
    {"QV_CamQuery", GIVES(QV_CamQuery(Out<int32_t>(b)))},
    {"QV_CCDQuery", GIVES(QV_CCDQuery(b.variant.platform, Out<int32_t>(b)))},
    {"QV_CCDtoName", GIVES(QV_CCDtoName(b.variant.sensor, C))},
    {"QV_CCDtoNameVB", GIVES(QV_CCDtoNameVB(b.variant.sensor, Out<char>(b), C))},
    {"QV_PTFtoName", GIVES(QV_PTFtoName(b.variant.platform, C))},
    {"QV_PTFtoNameVB", GIVES(QV_PTFtoNameVB(b.variant.platform, Out<char>(b), C))},
    {"QV_FamtoName", GIVES(QV_FamtoName(20))},
    {"QV_FamtoNameVB", GIVES(QV_FamtoNameVB(20, Out<char>(b)))},
    {"QV_PtfName", GIVES(QV_PtfName(0, C))},
    {"QV_PtfNameVB", GIVES(QV_PtfNameVB(0, Out<char>(b), C))},
    {"QV_GetDimX", GIVES(QV_GetDimX(C))},
    {"QV_GetDimY", GIVES(QV_GetDimY(C))},
    {"QV_GetCCDX", GIVES(QV_GetCCDX(C))},
    {"QV_GetCCDY", GIVES(QV_GetCCDY(C))},
    {"QV_GetCCDdata", DOES(QV_GetCCDdata(Out<CcdDefinition>(b), C))},
    {"QV_GetHPdata", DOES(QV_GetHPdata(Out<PlatformDefinition>(b), C))},

    // definition file
    {"QV_LoadCCD", GIVES(QV_LoadCCD(b.variant.sensor, C)), Start::Open,
        WITH(b.record->Ccd.CCF = 77.0)},
    {"QV_SaveCCD", GIVES(QV_SaveCCD(b.variant.sensor, C)), Start::Open,
        WITH(b.record->Ccd.CCF = 77.0)},
    {"QV_LoadPlatform", GIVES(QV_LoadPlatform(b.variant.platform, b.variant.sensor, C)),
        Start::Open,
        WITH(b.record->Platform.Gain[0] = 77.0)},
    {"QV_SavePlatform", GIVES(QV_SavePlatform(b.variant.platform, b.variant.sensor, C)),
        Start::Open,
        WITH(b.record->Platform.Gain[0] = 77.0)},

    // camera configuration file
    {"QV_LoadCameraConfig", DOES(QV_LoadCameraConfig("camera.cfg", Out<CameraConfig>(b))),
        Start::Open, WriteConfig},
    {"QV_SaveCameraConfig", DOES(QV_SaveCameraConfig("other.cfg", &b.config))},

    // single exposure and internal buffers
    {"QV_GetCCD", DOES(QV_GetCCD(1, Exposure, b.pixels, C))},
    {"QV_FGetCCD", DOES(QV_FGetCCD(1, Exposure, b.pixels, C))},
    {"QV_TGetCCD", DOES(QV_TGetCCD(1, Exposure, b.pixels, C))},
    {"QV_GetWinCCD", DOES(QV_GetWinCCD(1, Exposure, 1, 1, 4, 2, b.pixels, C))},
    {"QV_FGetWinCCD", DOES(QV_FGetWinCCD(1, Exposure, 2, 1, 4, 2, b.pixels, C))},
    {"QV_GetCCDPulsed", DOES(QV_GetCCDPulsed(1, 0, 10.0, 0.05, b.pixels, C))},
    {"QV_GetWinCCDPulsed", DOES(QV_GetWinCCDPulsed(1, 0, 10.0, 0.05, 1, 2, 4, 2, b.pixels, C))},
    {"QV_Matrix", DOES(QV_Matrix(0, C))},
    {"QV_MatrixPointer", GIVES(QV_MatrixPointer(0, C))},
    {"QV_MatrixSet", DOES(QV_MatrixSet(1, C))},
    {"QV_MatrixGet", GIVES(QV_MatrixGet(C)), Start::Open, nullptr,
        WITH(QV_MatrixSet(0, C))},
    {"QV_MatrixRead", GIVES(QV_MatrixRead(0, 0, C)), Start::Open,
        WITH(b.record->Matrix[0][0] = 5)},
    {"QV_MatrixSize", GIVES(QV_MatrixSize(C)), Start::Open, nullptr,
        WITH(QV_Matrix(2, C))},

    // kinetics
    {"QV_Kinetics", DOES(QV_Kinetics(1, Exposure, 1, 3, 1, 4, 2, &b.pixels, C))},
    {"QV_KineticsCCD", DOES(QV_KineticsCCD(1, 0.01, 1, 1, b.pixels, C))},

    // armed acquisition
    {"QV_ArmAcquisition", DOES(QV_ArmAcquisition(0.02, C))},
    {"QV_StartAcquisition", DOES(QV_StartAcquisition(1, C))},
    {"QV_GetImage", DOES(QV_GetImage(b.pixels, C))},
    {"QV_FlushAcquisition", DOES(QV_FlushAcquisition(C))},
    {"QV_ArmTimerHandle", DOES(QV_ArmTimerHandle(0, C)), Start::Open, nullptr,
        WITH(QV_ArmTimerHandle(1, C))},

    // array mode
    {"QV_OpenArray", DOES(OpenBenchArray(b)), Start::Array,
        WITH(QV_Close(C))},
    {"QV_AGetCCD", DOES(ReadArray(b)), Start::Array},

    // image correction
    {"QV_SetDNR", DOES(QV_SetDNR(2, C))},
    {"QV_GetDNR", GIVES(QV_GetDNR(C)), Start::Open, nullptr,
        WITH(QV_SetDNR(0, C))},
    {"QV_SetBitDecimation", DOES(QV_SetBitDecimation(2, C)), Start::Open, nullptr,
        WITH(QV_SetBitDecimation(0, C))},

    // temperature
    {"QV_SetTemp", DOES(QV_SetTemp(-5.0, QV_CELSIUS, C))},
    {"QV_GetTemp", GIVES(QV_GetTemp(nullptr, QV_KELVIN, C))},
    {"QV_ReadTemp", GIVES(QV_ReadTemp(QV_KELVIN, C))},
    {"QV_Cooler", DOES(QV_Cooler(0, C))},
    {"QV_CoolerStatus", GIVES(QV_CoolerStatus(C)), Start::Open,
        WITH(QV_Cooler(1, C))},
    {"QV_SetPower", DOES(QV_SetPower(50.0, C))},
    {"QV_GetPower", GIVES(QV_GetPower(C))},
    {"QV_TempCalib", DOES(QV_TempCalib(1.5, 1.25, C))},
    {"QV_TemperatureHandle", GIVES(QV_TemperatureHandle(C))},
    {"QV_GetTempHistory", GIVES(QV_GetTempHistory(Out<double>(b), C))},
    {"QV_CheckTempEquil", GIVES(QV_CheckTempEquil(0, 1.0, C))},

    // shutter and trigger
    {"QV_Shutter", DOES(QV_Shutter(Exposure, C))},
    {"QV_ShutterControl", DOES(QV_ShutterControl(1, C)), Start::Open, nullptr,
        WITH(QV_ShutterControl(0, C))},
    {"QV_Trigger", GIVES(QV_Trigger(0, C))},

    // filter wheel
    {"QV_SetFilter", [](Bench& b) { return WithEachWheel(b, [] { QV_SetFilter(2, C); }); }},
    {"QV_CalibFW", [](Bench& b) { return WithEachWheel(b, [] { QV_CalibFW(C); }); }},
    {"QV_OpenFW", [](Bench& b) { return WithEachWheel(b, [] { QV_OpenFW(3, 1, 2, C); }); }},
    {"QV_SetFW", [](Bench& b) { return WithEachWheel(b, [] { QV_SetFW(4, 2, 1, C); }); }},
    {"QV_IsThereFW", GIVES(QV_IsThereFW(C)), Start::Open,
        WITH(b.record->Config.FilterWheel = 3),
        WITH(b.record->Config.FilterWheel = 0)},

    // objective and plug
    {"QV_ObjectiveControl", DOES(QV_ObjectiveControl(3, 5, C))},
    {"QV_Plug", GIVES(PlugValues())},

    // gain, binning, fan
    {"QV_SetBinning", DOES(QV_SetBinning(2, 2, C))},
    {"QV_GetBinning", DOES(QV_GetBinning(Out<int32_t>(b), nullptr, C))},
    {"QV_SetGain", DOES(QV_SetGain(1, C))},
    {"QV_GetGain", GIVES(QV_GetGain(C))},
    {"QV_SetUsrGain", DOES(QV_SetUsrGain(10, 1, 20, C))},
    {"QV_SetFanSpeed", DOES(QV_SetFanSpeed(50.0, C))},

    // interface card
    {"QV_GetKZBPCIAddress", GIVES(QV_GetKZBPCIAddress(C))},
    {"QV_GetKZBPCIRevision", GIVES(QV_GetKZBPCIRevision(C, C))},

    // camera memory, registers, serial number
    {"QV_ReadEP", GIVES(QV_ReadEP(6, C))},
    {"QV_WriteEP", DOES(QV_WriteEP(5, 77, C))},
    {"QV_GetSerNum", GIVES(QV_GetSerNum(C))},
    {"QV_SetSerNum", DOES(QV_SetSerNum(1234, 0, C))},
    {"QV_WRReg", DOES(QV_WRReg(Reg, 9, C)), Start::Open, ShowRegister},
    {"QV_RDReg", GIVES(QV_RDReg(Reg, C)), Start::Open, ShowRegister},
    {"QV_RMReg", GIVES(QV_RMReg(Reg, C)), Start::Open, ShowRegister},
    {"QV_WMReg", DOES(QV_WMReg(Reg, 9, C)), Start::Open, ShowRegister},
    {"QV_GetStatus", GIVES(QV_GetStatus(15, C))},
    {"QV_Poke", DOES(QV_Poke(5, 7, C))},
    {"QV_Peek", GIVES(QV_Peek(5, C))},
    {"QV_PokeW", DOES(QV_PokeW(5, 7, C))},
    {"QV_PeekW", GIVES(QV_PeekW(5, C))},
    {"QV_QuerySts", GIVES(QV_QuerySts(1, C))},
    {"QV_GetAD", GIVES(QV_GetAD(0, C))},
};
// clang-format on

} // namespace

const std::vector<Call>& Calls()
{
    return All;
}

void OpenBench(Bench& bench)
{
    QV_Open(bench.variant.platform, bench.variant.sensor, bench.address, bench.variant.link, 0, C,
            QV_OPTION_SILENT, nullptr, nullptr);
}

void OpenBenchArray(Bench& bench)
{
    const uint16_t config[4] = {0, Mask, 0, 0};
    QV_OpenArray(config, bench.variant.platform, bench.variant.sensor, 0, QV_OPTION_SILENT, C,
                 nullptr, nullptr);
}
