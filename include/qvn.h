/* qvn: control of cooled scientific CCD cameras. */
#ifndef QVN_H
#define QVN_H

#include <stdint.h>

#if defined(_WIN32)
#if defined(QVN_BUILD)
#define QVN_API __declspec(dllexport)
#else
#define QVN_API __declspec(dllimport)
#endif
#else
#define QVN_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef void (*QvExposureCallback)(const char *text, int32_t camera);
typedef void (*QvProgressCallback)(const char *text, int32_t percent, int32_t camera);

typedef struct CameraConfig {
    int32_t AD;
    int32_t Platform;
    int32_t CCD;
    int32_t InterfaceType;
    int32_t InterfaceAddress;
    int32_t CameraAddress;
    int32_t PciIndex;
    int32_t InterfaceLink;
    int32_t FilterWheel;
    int32_t FilterWheelPortAddress;
    int32_t FilterWheelPortType;
    int32_t ShutterType;
    int32_t ShutterHisteresys;
    int32_t CcdOutput;
    int32_t CcdTechnology;
    int32_t CcdBackFront;
    int32_t Process;
    int32_t Activity;
    int32_t LongCable;
    char DefectiveList[80];
} CameraConfig;

typedef struct CcdDefinition {
    uint16_t Manufacturer;
    int16_t Xpix;
    int16_t Ypix;
    uint16_t Dummy[4];
    int16_t HorDummyPix;
    int16_t HorRegSize;
    uint16_t Antiblooming;
    uint16_t MultipleOutput;
    uint16_t Shutter;
    double XpixDim;
    double YpixDim;
    double Xarea;
    double Yarea;
    double FWC;
    double CCF;
} CcdDefinition;

typedef struct PlatformDefinition {
    uint16_t Spare;
    uint16_t ADbit;
    int16_t FpgaId;
    uint16_t VerticalPhasePeriod;
    int16_t NumberOfGains;
    int16_t AntiBloomingTimer;
    double TimeBase;
    double AmplifierDelay;
    double ADclock;
    double SamplingClock[2];
    double Gain[4];
} PlatformDefinition;

/* camera table and status */
QVN_API int32_t QV_Status(int32_t camera);
QVN_API const char *QV_ErrorMessage(int32_t code);
QVN_API char *QV_ErrorMessageVB(int32_t code, char *buffer);
QVN_API int32_t QV_Ver(char *buffer);
QVN_API uint32_t QV_WDVer(char *buffer, int32_t camera);
QVN_API uint16_t QV_MaxNumbers(int32_t camera);
QVN_API void QV_SetPathName(const char *path);
QVN_API void QV_Delay(uint32_t milliseconds);
QVN_API int32_t QV_IsOn(int32_t camera);
QVN_API uint32_t QV_GetMode(int32_t camera);
QVN_API uint32_t QV_SetMode(uint32_t bits, int32_t on, int32_t camera);
QVN_API void QV_BrkFlg(int32_t camera);
QVN_API uint32_t QV_BckGnd(int32_t camera);
QVN_API uint32_t QV_BckBusy(int32_t camera);
QVN_API void QV_RWData(int32_t what, int32_t out, void *buffer, int32_t camera);
QVN_API void QV_SetKZBPCI(int32_t index, int32_t camera);
QVN_API void QV_InitCfg(CameraConfig *config);
QVN_API void QV_InitOptions(const CameraConfig *config, int32_t camera);

/* open, close, selection */
QVN_API void QV_LibraryInit(void);
QVN_API void QV_Open(int32_t platform, int32_t ccd, int32_t address, int32_t interfaceType, int32_t attach, int32_t camera, uint32_t options, QvExposureCallback exposureCallback, QvProgressCallback progressCallback);
QVN_API void _QV_Open(int32_t platform, int32_t ccd, int32_t address, int32_t interfaceType, int32_t attach, int32_t camera, uint32_t options);
QVN_API CameraConfig *QV_OpenByConfig(const CameraConfig *config, int32_t attach, QvExposureCallback exposureCallback, QvProgressCallback progressCallback);
QVN_API int32_t QV_OpenByFile(const char *fileName, int32_t attach, QvExposureCallback exposureCallback, QvProgressCallback progressCallback);
QVN_API int32_t _QV_OpenByFile(const char *fileName, int32_t attach);
QVN_API int32_t QV_OpenPar(int32_t platform, int32_t ccd, int32_t camera);
QVN_API void QV_Close(int32_t camera);
QVN_API void QV_Select(int32_t camera);
QVN_API void QV_SubSelect(int32_t camera, int32_t subCamera);
QVN_API void QV_StopNow(int32_t camera);
QVN_API void QV_StartNow(int32_t camera);
QVN_API void QV_SetFunction(int32_t slot, void *function, int32_t camera);
QVN_API void QV_ClearCCD(int32_t camera);

/* catalogue and queries */
QVN_API int32_t QV_CamQuery(int32_t *list);
QVN_API int32_t QV_CCDQuery(int32_t platform, int32_t *list);
QVN_API char *QV_CCDtoName(int32_t ccd, int32_t camera);
QVN_API char *QV_CCDtoNameVB(int32_t ccd, char *buffer, int32_t camera);
QVN_API char *QV_PTFtoName(int32_t platform, int32_t camera);
QVN_API char *QV_PTFtoNameVB(int32_t platform, char *buffer, int32_t camera);
QVN_API char *QV_FamtoName(int32_t family);
QVN_API char *QV_FamtoNameVB(int32_t family, char *buffer);
QVN_API char *QV_PtfName(int32_t unused, int32_t camera);
QVN_API char *QV_PtfNameVB(int32_t unused, char *buffer, int32_t camera);
QVN_API int32_t QV_GetDimX(int32_t camera);
QVN_API int32_t QV_GetDimY(int32_t camera);
QVN_API int32_t QV_GetCCDX(int32_t camera);
QVN_API int32_t QV_GetCCDY(int32_t camera);
QVN_API void QV_GetCCDdata(CcdDefinition *record, int32_t camera);
QVN_API void QV_GetHPdata(PlatformDefinition *record, int32_t camera);

/* definition file */
QVN_API int64_t QV_LoadCCD(int32_t ccd, int32_t camera);
QVN_API int64_t QV_SaveCCD(int32_t ccd, int32_t camera);
QVN_API int64_t QV_LoadPlatform(int32_t platform, int32_t ccd, int32_t camera);
QVN_API int64_t QV_SavePlatform(int32_t platform, int32_t ccd, int32_t camera);

/* camera configuration file */
QVN_API int32_t QV_LoadCameraConfig(const char *name, CameraConfig *config);
QVN_API int32_t QV_SaveCameraConfig(const char *name, CameraConfig *config);

/* single exposure and internal buffers */
QVN_API void QV_GetCCD(int32_t shutter, double exposure, uint16_t *buffer, int32_t camera);
QVN_API void QV_FGetCCD(int32_t shutter, double exposure, uint16_t *buffer, int32_t camera);
QVN_API void QV_TGetCCD(int32_t shutter, double exposure, uint16_t *buffer, int32_t camera);
QVN_API void QV_GetWinCCD(int32_t shutter, double exposure, int32_t x, int32_t y, int32_t width, int32_t height, uint16_t *buffer, int32_t camera);
QVN_API void QV_FGetWinCCD(int32_t shutter, double exposure, int32_t x, int32_t y, int32_t width, int32_t height, uint16_t *buffer, int32_t camera);
QVN_API void QV_GetCCDPulsed(int32_t shutter, int32_t fast, double exposureMs, double periodSeconds, uint16_t *buffer, int32_t camera);
QVN_API void QV_GetWinCCDPulsed(int32_t shutter, int32_t fast, double exposureMs, double periodSeconds, int32_t x, int32_t y, int32_t width, int32_t height, uint16_t *buffer, int32_t camera);
QVN_API void QV_Matrix(int32_t operation, int32_t camera);
QVN_API uint16_t *QV_MatrixPointer(int32_t index, int32_t camera);
QVN_API void QV_MatrixSet(int32_t index, int32_t camera);
QVN_API int32_t QV_MatrixGet(int32_t camera);
QVN_API uint16_t QV_MatrixRead(int32_t x, int32_t y, int32_t camera);
QVN_API int32_t QV_MatrixSize(int32_t camera);

/* kinetics */
QVN_API void QV_Kinetics(int32_t shutter, double exposure, int32_t frames, int32_t x, int32_t y, int32_t width, int32_t height, uint16_t **buffers, int32_t camera);
QVN_API void QV_KineticsCCD(int32_t shutter, double interval, int32_t shifts, int32_t lines, uint16_t *buffer, int32_t camera);

/* armed acquisition */
QVN_API void QV_ArmAcquisition(double exposure, int32_t camera);
QVN_API void QV_StartAcquisition(int32_t mode, int32_t camera);
QVN_API void QV_GetImage(uint16_t *buffer, int32_t camera);
QVN_API void QV_FlushAcquisition(int32_t camera);
QVN_API void QV_ArmTimerHandle(int32_t action, int32_t camera);

/* array mode */
QVN_API void QV_OpenArray(const void *arrayConfig, int32_t platform, int32_t ccd, int32_t unused, uint32_t options, int32_t camera, QvExposureCallback exposureCallback, QvProgressCallback progressCallback);
QVN_API void QV_AGetCCD(int32_t shutter, const double *exposures, uint16_t **buffers, int32_t camera);

/* image correction */
QVN_API void QV_SetDNR(int32_t mode, int32_t camera);
QVN_API int32_t QV_GetDNR(int32_t camera);
QVN_API void QV_SetBitDecimation(int32_t mode, int32_t camera);

/* temperature */
QVN_API void QV_SetTemp(double temperature, int32_t units, int32_t camera);
QVN_API double QV_GetTemp(char *text, int32_t units, int32_t camera);
QVN_API double QV_ReadTemp(int32_t units, int32_t camera);
QVN_API void QV_Cooler(int32_t on, int32_t camera);
QVN_API int32_t QV_CoolerStatus(int32_t camera);
QVN_API void QV_SetPower(double percent, int32_t camera);
QVN_API double QV_GetPower(int32_t camera);
QVN_API void QV_TempCalib(double offset, double span, int32_t camera);
QVN_API int32_t QV_TemperatureHandle(int32_t camera);
QVN_API int32_t QV_GetTempHistory(double *buffer, int32_t camera);
QVN_API int32_t QV_CheckTempEquil(int32_t count, double tolerance, int32_t camera);

/* shutter and trigger */
QVN_API void QV_Shutter(double seconds, int32_t camera);
QVN_API void QV_ShutterControl(int32_t on, int32_t camera);
QVN_API int32_t QV_Trigger(int32_t wait, int32_t camera);

/* filter wheel */
QVN_API void QV_SetFilter(int32_t position, int32_t camera);
QVN_API void QV_CalibFW(int32_t camera);
QVN_API void QV_OpenFW(int32_t setting, int32_t hold, int32_t zeroOffset, int32_t camera);
QVN_API void QV_SetFW(int32_t setting, int32_t hold, int32_t zeroOffset, int32_t camera);
QVN_API int32_t QV_IsThereFW(int32_t camera);

/* objective and plug */
QVN_API void QV_ObjectiveControl(int32_t operation, uint16_t milliseconds, int32_t camera);
QVN_API int32_t QV_Plug(int32_t what, uint32_t *values, int32_t camera);

/* gain, binning, fan */
QVN_API void QV_SetBinning(int32_t horizontal, int32_t vertical, int32_t camera);
QVN_API void QV_GetBinning(int32_t *horizontal, int32_t *vertical, int32_t camera);
QVN_API int32_t QV_SetGain(int32_t index, int32_t camera);
QVN_API int32_t QV_GetGain(int32_t camera);
QVN_API void QV_SetUsrGain(int32_t gain, int32_t high, int32_t offset, int32_t camera);
QVN_API void QV_SetFanSpeed(double percent, int32_t camera);

/* interface card */
QVN_API uint32_t QV_GetKZBPCIAddress(int32_t camera);
QVN_API uint32_t QV_GetKZBPCIRevision(int32_t selected, int32_t camera);

/* camera memory, registers, serial number */
QVN_API uint16_t QV_ReadEP(int32_t address, int32_t camera);
QVN_API void QV_WriteEP(int32_t address, int32_t value, int32_t camera);
QVN_API int32_t QV_GetSerNum(int32_t camera);
QVN_API void QV_SetSerNum(int32_t serial, int32_t format, int32_t camera);
QVN_API void QV_WRReg(int32_t reg, int32_t value, int32_t camera);
QVN_API uint16_t QV_RDReg(int32_t reg, int32_t camera);
QVN_API uint16_t QV_RMReg(int32_t reg, int32_t camera);
QVN_API void QV_WMReg(int32_t reg, int32_t value, int32_t camera);
QVN_API uint32_t QV_GetStatus(int32_t number, int32_t camera);
QVN_API void QV_Poke(int32_t address, int32_t value, int32_t camera);
QVN_API int32_t QV_Peek(int32_t address, int32_t camera);
QVN_API void QV_PokeW(int32_t address, int32_t value, int32_t camera);
QVN_API int32_t QV_PeekW(int32_t address, int32_t camera);
QVN_API int32_t QV_QuerySts(int32_t which, int32_t camera);
QVN_API int32_t QV_GetAD(int32_t channel, int32_t camera);

#ifdef __cplusplus
}
#endif

#endif
