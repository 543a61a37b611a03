// A camera number outside 0 to 7 is the caller's mistake: no export reads or
// writes anything for it, and what it returns is 0 or null.
#include <cstring>
#include <memory>
#include <vector>

#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "tests/support/demo_camera.h"
#include "tests/support/scripted_camera.h"

namespace {

const int32_t WrongNumbers[] = {-1, 8, 9, 1000, -1000, INT32_MAX, INT32_MIN};

class WrongCameraNumber : public ScriptedTest {
protected:
    void SetUp() override
    {
        ScriptedTest::SetUp();
        for (int32_t camera : {0, 7}) OpenScripted(camera, 0);
        ScriptedCalls.clear();
        before.assign(CameraTable, CameraTable + CameraCount);
        memset(block, 0x5A, sizeof block);
        started = EmuMicroseconds();
    }

    void TearDown() override
    {
        EXPECT_EQ(memcmp(before.data(), CameraTable, sizeof CameraTable), 0);
        EXPECT_TRUE(ScriptedCalls.empty());
        EXPECT_TRUE(ProgressReports.empty());
        EXPECT_EQ(TimerUsers, 0);
        EXPECT_LT(EmuMicroseconds() - started, 1000u) << "nothing slept";
        for (unsigned char byte : block) ASSERT_EQ(byte, 0x5A);
        for (int32_t count : StopCount) EXPECT_EQ(count, 0);
        ScriptedTest::TearDown();
    }

    std::vector<CameraRecord> before;
    alignas(8) unsigned char block[7200 * 8];
    uint64_t started = 0;
};

TEST_F(WrongCameraNumber, StatusCalls)
{
    for (int32_t camera : WrongNumbers) {
        EXPECT_EQ(QV_Status(camera), 0);
        EXPECT_EQ(QV_WDVer(reinterpret_cast<char*>(block), camera), 0u);
        EXPECT_EQ(QV_MaxNumbers(camera), 0);
        EXPECT_EQ(QV_IsOn(camera), 0);
        EXPECT_EQ(QV_GetMode(camera), 0u);
        EXPECT_EQ(QV_SetMode(0xFFFF, 1, camera), 0u);
        QV_BrkFlg(camera);
        EXPECT_EQ(QV_BckGnd(camera), 0u);
        EXPECT_EQ(QV_BckBusy(camera), 0u);
        for (int32_t what = 0; what < 4; ++what) {
            QV_RWData(what, 1, block, camera);
            QV_RWData(what, 0, block, camera);
        }
        QV_SetKZBPCI(3, camera);
        CameraConfig config;
        QV_InitCfg(&config);
        QV_InitOptions(&config, camera);
    }
}

TEST_F(WrongCameraNumber, OpenAndSelection)
{
    for (int32_t camera : WrongNumbers) {
        QV_Open(1, SmallSensor, 0, 0, 0, camera, 0x8003, nullptr, nullptr);
        _QV_Open(1, SmallSensor, 0, 0, 0, camera, 0x8003);
        EXPECT_EQ(QV_OpenPar(1, SmallSensor, camera), 0);
        CameraConfig config;
        memset(&config, 0, sizeof config);
        QV_InitCfg(&config);
        config.Platform = 1;
        config.PciIndex = camera;
        EXPECT_EQ(QV_OpenByConfig(&config, 0, nullptr, nullptr), nullptr);
        WriteDemoFile("camera.cfg", "CameraConfig: { Platform = 1; CCD = 255; PciIndex = " +
                                        std::to_string(camera) + "; DefectiveList = \"\"; };");
        EXPECT_EQ(QV_OpenByFile("camera.cfg", 0, nullptr, nullptr), camera) << "what the file says";
        EXPECT_EQ(_QV_OpenByFile("camera.cfg", 0), camera);
        QV_Close(camera);
        QV_Select(camera);
        QV_SubSelect(camera, 1);
        QV_StopNow(camera);
        QV_StartNow(camera);
        for (int32_t slot = 0; slot < 70; ++slot) QV_SetFunction(slot, block, camera);
        QV_ClearCCD(camera);
    }
}

TEST_F(WrongCameraNumber, CatalogueAndFiles)
{
    char* text = reinterpret_cast<char*>(block);
    for (int32_t camera : WrongNumbers) {
        EXPECT_EQ(QV_CCDtoName(255, camera), nullptr);
        EXPECT_EQ(QV_CCDtoNameVB(255, text, camera), nullptr);
        EXPECT_EQ(QV_PTFtoName(1, camera), nullptr);
        EXPECT_EQ(QV_PTFtoNameVB(1, text, camera), nullptr);
        EXPECT_EQ(QV_PtfName(0, camera), nullptr);
        EXPECT_EQ(QV_PtfNameVB(0, text, camera), nullptr);
        EXPECT_EQ(QV_GetDimX(camera), 0);
        EXPECT_EQ(QV_GetDimY(camera), 0);
        EXPECT_EQ(QV_GetCCDX(camera), 0);
        EXPECT_EQ(QV_GetCCDY(camera), 0);
        QV_GetCCDdata(reinterpret_cast<CcdDefinition*>(block), camera);
        QV_GetHPdata(reinterpret_cast<PlatformDefinition*>(block), camera);
        EXPECT_EQ(QV_LoadCCD(255, camera), 0);
        EXPECT_EQ(QV_SaveCCD(255, camera), 0);
        EXPECT_EQ(QV_LoadPlatform(1, 255, camera), 0);
        EXPECT_EQ(QV_SavePlatform(1, 255, camera), 0);
    }
}

TEST_F(WrongCameraNumber, Acquisition)
{
    uint16_t* pixels = reinterpret_cast<uint16_t*>(block);
    uint16_t* buffers[8] = {pixels, pixels, pixels, pixels, pixels, pixels, pixels, pixels};
    const double exposures[8] = {};
    for (int32_t camera : WrongNumbers) {
        QV_GetCCD(1, 0.1, pixels, camera);
        QV_FGetCCD(1, 0.1, pixels, camera);
        QV_TGetCCD(1, 0.1, pixels, camera);
        QV_GetWinCCD(1, 0.1, 0, 0, 4, 4, pixels, camera);
        QV_FGetWinCCD(1, 0.1, 0, 0, 4, 4, pixels, camera);
        QV_GetCCDPulsed(1, 0, 100.0, 1.0, pixels, camera);
        QV_GetWinCCDPulsed(1, 0, 100.0, 1.0, 0, 0, 4, 4, pixels, camera);
        for (int32_t operation = 0; operation < 3; ++operation) QV_Matrix(operation, camera);
        EXPECT_EQ(QV_MatrixPointer(0, camera), nullptr);
        QV_MatrixSet(1, camera);
        EXPECT_EQ(QV_MatrixGet(camera), 0);
        EXPECT_EQ(QV_MatrixRead(0, 0, camera), 0);
        EXPECT_EQ(QV_MatrixSize(camera), 0);
        QV_Kinetics(1, 0.1, 1, 0, 0, 4, 4, buffers, camera);
        QV_KineticsCCD(1, 0.1, 1, 1, pixels, camera);
        QV_ArmAcquisition(0.1, camera);
        QV_StartAcquisition(0, camera);
        QV_GetImage(pixels, camera);
        QV_FlushAcquisition(camera);
        for (int32_t action = 0; action < 4; ++action) QV_ArmTimerHandle(action, camera);
        const uint16_t heads[4] = {0, 3, 0, 0};
        QV_OpenArray(heads, 42, 255, 0, 0, camera, nullptr, nullptr);
        QV_AGetCCD(1, exposures, buffers, camera);
        QV_SetDNR(1, camera);
        EXPECT_EQ(QV_GetDNR(camera), 0);
        QV_SetBitDecimation(1, camera);
    }
    EXPECT_EQ(EmuTimersRunning(), 0u);
    EXPECT_EQ(TimerAutoStart, 1);
}

TEST_F(WrongCameraNumber, Devices)
{
    char* text = reinterpret_cast<char*>(block);
    int32_t* number = reinterpret_cast<int32_t*>(block);
    for (int32_t camera : WrongNumbers) {
        QV_SetTemp(-10.0, 1, camera);
        EXPECT_EQ(QV_GetTemp(text, 1, camera), 0.0);
        EXPECT_EQ(QV_ReadTemp(1, camera), 0.0);
        QV_Cooler(1, camera);
        EXPECT_EQ(QV_CoolerStatus(camera), 0);
        QV_SetPower(50.0, camera);
        EXPECT_EQ(QV_GetPower(camera), 0.0);
        QV_TempCalib(1.0, 2.0, camera);
        EXPECT_EQ(QV_TemperatureHandle(camera), 0);
        EXPECT_EQ(QV_GetTempHistory(reinterpret_cast<double*>(block), camera), 0);
        EXPECT_EQ(QV_CheckTempEquil(0, 1.0, camera), 0);
        QV_Shutter(1.0, camera);
        QV_ShutterControl(1, camera);
        EXPECT_EQ(QV_Trigger(1, camera), 0);
        QV_SetFilter(1, camera);
        QV_CalibFW(camera);
        QV_OpenFW(1, 1, 1, camera);
        QV_SetFW(1, 1, 1, camera);
        EXPECT_EQ(QV_IsThereFW(camera), 0);
        QV_ObjectiveControl(1, 10, camera);
        EXPECT_EQ(QV_Plug(0, reinterpret_cast<uint32_t*>(block), camera), 0);
        QV_SetBinning(2, 2, camera);
        QV_GetBinning(number, number + 1, camera);
        EXPECT_EQ(QV_SetGain(1, camera), 0);
        EXPECT_EQ(QV_GetGain(camera), 0);
        QV_SetUsrGain(1, 1, 1, camera);
        QV_SetFanSpeed(50.0, camera);
    }
}

TEST_F(WrongCameraNumber, RegistersAndMemory)
{
    for (int32_t camera : WrongNumbers) {
        EXPECT_EQ(QV_GetKZBPCIAddress(camera), 0u);
        EXPECT_EQ(QV_GetKZBPCIRevision(1, camera), 0u);
        EXPECT_EQ(QV_ReadEP(6, camera), 0);
        QV_WriteEP(6, 1, camera);
        EXPECT_EQ(QV_GetSerNum(camera), 0);
        QV_SetSerNum(1, 1, camera);
        QV_WRReg(1, 1, camera);
        EXPECT_EQ(QV_RDReg(1, camera), 0);
        EXPECT_EQ(QV_RMReg(1, camera), 0);
        QV_WMReg(1, 1, camera);
        EXPECT_EQ(QV_GetStatus(1, camera), 0u);
        QV_Poke(1, 1, camera);
        EXPECT_EQ(QV_Peek(1, camera), 0);
        QV_PokeW(1, 1, camera);
        EXPECT_EQ(QV_PeekW(1, camera), 0);
        EXPECT_EQ(QV_QuerySts(1, camera), 0);
        EXPECT_EQ(QV_GetAD(1, camera), 0);
    }
}

} // namespace
