// The exported functions. Each is one line: the wrapper that the host calls, and
// the routine of the same name behind it.
#include "include/qvn.h"

#include "acquisition/armed.h"
#include "acquisition/array.h"
#include "acquisition/correction.h"
#include "acquisition/kinetics.h"
#include "acquisition/matrix.h"
#include "acquisition/single.h"
#include "catalogue/camera_config_file.h"
#include "catalogue/catalogue.h"
#include "catalogue/definition_file.h"
#include "core/errors.h"
#include "core/open_close.h"
#include "core/record.h"
#include "core/status.h"
#include "core/timer_service.h"
#include "devices/binning.h"
#include "devices/camera_memory.h"
#include "devices/direct_access.h"
#include "devices/fan.h"
#include "devices/gain.h"
#include "devices/objective.h"
#include "devices/shutter.h"
#include "devices/temperature.h"
#include "devices/wheel/filter_wheel.h"
#include "links/card.h"

#define EXPORT(result, name, routine, parameters, arguments)                                       \
    result name parameters                                                                         \
    {                                                                                              \
        return routine arguments;                                                                  \
    }

// A camera number outside 0 to 7 is the host's mistake: the call does nothing
// and gives 0 or null. The number in a configuration is looked at by OpenByConfig.
#define CAMERA_EXPORT(result, name, routine, parameters, arguments)                                \
    result name parameters                                                                         \
    {                                                                                              \
        return IsCamera(camera) ? routine arguments : static_cast<result>(0);                      \
    }

// clang-format off
// camera table and status
CAMERA_EXPORT(int32_t, QV_Status, Status, (int32_t camera), (camera))
EXPORT(const char*, QV_ErrorMessage, ErrorMessage, (int32_t code), (code))
EXPORT(char*, QV_ErrorMessageVB, ErrorMessageVB, (int32_t code, char* buffer), (code, buffer))
EXPORT(int32_t, QV_Ver, Ver, (char* buffer), (buffer))
CAMERA_EXPORT(uint32_t, QV_WDVer, WDVer, (char* buffer, int32_t camera), (buffer, camera))
CAMERA_EXPORT(uint16_t, QV_MaxNumbers, MaxNumbers, (int32_t camera), (camera))
EXPORT(void, QV_SetPathName, SetPathName, (const char* path), (path))
EXPORT(void, QV_Delay, Delay, (uint32_t milliseconds), (milliseconds))
CAMERA_EXPORT(int32_t, QV_IsOn, IsOn, (int32_t camera), (camera))
CAMERA_EXPORT(uint32_t, QV_GetMode, GetMode, (int32_t camera), (camera))
CAMERA_EXPORT(uint32_t, QV_SetMode, SetMode, (uint32_t bits, int32_t on, int32_t camera), (bits, on, camera))
CAMERA_EXPORT(void, QV_BrkFlg, BrkFlg, (int32_t camera), (camera))
CAMERA_EXPORT(uint32_t, QV_BckGnd, BckGnd, (int32_t camera), (camera))
CAMERA_EXPORT(uint32_t, QV_BckBusy, BckBusy, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_RWData, RWData, (int32_t what, int32_t out, void* buffer, int32_t camera), (what, out, buffer, camera))
CAMERA_EXPORT(void, QV_SetKZBPCI, SetKZBPCI, (int32_t index, int32_t camera), (index, camera))
EXPORT(void, QV_InitCfg, InitCfg, (CameraConfig* config), (config))
CAMERA_EXPORT(void, QV_InitOptions, InitOptions, (const CameraConfig* config, int32_t camera), (config, camera))

// open, close, selection
EXPORT(void, QV_LibraryInit, LibraryInit, (void), ())
CAMERA_EXPORT(void, QV_Open, Open, (int32_t platform, int32_t ccd, int32_t address, int32_t interfaceType, int32_t attach, int32_t camera, uint32_t options, QvExposureCallback exposureCallback, QvProgressCallback progressCallback), (platform, ccd, address, interfaceType, attach, camera, options, exposureCallback, progressCallback))
CAMERA_EXPORT(void, _QV_Open, OpenWithoutCallbacks, (int32_t platform, int32_t ccd, int32_t address, int32_t interfaceType, int32_t attach, int32_t camera, uint32_t options), (platform, ccd, address, interfaceType, attach, camera, options))
EXPORT(CameraConfig*, QV_OpenByConfig, OpenByConfig, (const CameraConfig* config, int32_t attach, QvExposureCallback exposureCallback, QvProgressCallback progressCallback), (config, attach, exposureCallback, progressCallback))
EXPORT(int32_t, QV_OpenByFile, OpenByFile, (const char* fileName, int32_t attach, QvExposureCallback exposureCallback, QvProgressCallback progressCallback), (fileName, attach, exposureCallback, progressCallback))
EXPORT(int32_t, _QV_OpenByFile, OpenByFileWithoutCallbacks, (const char* fileName, int32_t attach), (fileName, attach))
CAMERA_EXPORT(int32_t, QV_OpenPar, OpenPar, (int32_t platform, int32_t ccd, int32_t camera), (platform, ccd, camera))
CAMERA_EXPORT(void, QV_Close, Close, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_Select, Select, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_SubSelect, SubSelect, (int32_t camera, int32_t subCamera), (camera, subCamera))
CAMERA_EXPORT(void, QV_StopNow, StopNow, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_StartNow, StartNow, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_SetFunction, SetFunction, (int32_t slot, void* function, int32_t camera), (slot, function, camera))
CAMERA_EXPORT(void, QV_ClearCCD, ClearCCD, (int32_t camera), (camera))

// catalogue and queries
EXPORT(int32_t, QV_CamQuery, CamQuery, (int32_t* list), (list))
EXPORT(int32_t, QV_CCDQuery, CCDQuery, (int32_t platform, int32_t* list), (platform, list))
CAMERA_EXPORT(char*, QV_CCDtoName, CCDtoName, (int32_t ccd, int32_t camera), (ccd, camera))
CAMERA_EXPORT(char*, QV_CCDtoNameVB, CCDtoNameVB, (int32_t ccd, char* buffer, int32_t camera), (ccd, buffer, camera))
CAMERA_EXPORT(char*, QV_PTFtoName, PTFtoName, (int32_t platform, int32_t camera), (platform, camera))
CAMERA_EXPORT(char*, QV_PTFtoNameVB, PTFtoNameVB, (int32_t platform, char* buffer, int32_t camera), (platform, buffer, camera))
EXPORT(char*, QV_FamtoName, FamtoName, (int32_t family), (family))
EXPORT(char*, QV_FamtoNameVB, FamtoNameVB, (int32_t family, char* buffer), (family, buffer))
CAMERA_EXPORT(char*, QV_PtfName, PtfName, (int32_t unused, int32_t camera), (unused, camera))
CAMERA_EXPORT(char*, QV_PtfNameVB, PtfNameVB, (int32_t unused, char* buffer, int32_t camera), (unused, buffer, camera))
CAMERA_EXPORT(int32_t, QV_GetDimX, GetDimX, (int32_t camera), (camera))
CAMERA_EXPORT(int32_t, QV_GetDimY, GetDimY, (int32_t camera), (camera))
CAMERA_EXPORT(int32_t, QV_GetCCDX, GetCCDX, (int32_t camera), (camera))
CAMERA_EXPORT(int32_t, QV_GetCCDY, GetCCDY, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_GetCCDdata, GetCCDdata, (CcdDefinition* record, int32_t camera), (record, camera))
CAMERA_EXPORT(void, QV_GetHPdata, GetHPdata, (PlatformDefinition* record, int32_t camera), (record, camera))

// definition file
CAMERA_EXPORT(int64_t, QV_LoadCCD, LoadCCD, (int32_t ccd, int32_t camera), (ccd, camera))
CAMERA_EXPORT(int64_t, QV_SaveCCD, SaveCCD, (int32_t ccd, int32_t camera), (ccd, camera))
CAMERA_EXPORT(int64_t, QV_LoadPlatform, LoadPlatform, (int32_t platform, int32_t ccd, int32_t camera), (platform, ccd, camera))
CAMERA_EXPORT(int64_t, QV_SavePlatform, SavePlatform, (int32_t platform, int32_t ccd, int32_t camera), (platform, ccd, camera))

// camera configuration file
EXPORT(int32_t, QV_LoadCameraConfig, LoadCameraConfig, (const char* name, CameraConfig* config), (name, config))
EXPORT(int32_t, QV_SaveCameraConfig, SaveCameraConfig, (const char* name, CameraConfig* config), (name, config))

// single exposure and internal buffers
CAMERA_EXPORT(void, QV_GetCCD, GetCCD, (int32_t shutter, double exposure, uint16_t* buffer, int32_t camera), (shutter, exposure, buffer, camera))
CAMERA_EXPORT(void, QV_FGetCCD, FGetCCD, (int32_t shutter, double exposure, uint16_t* buffer, int32_t camera), (shutter, exposure, buffer, camera))
CAMERA_EXPORT(void, QV_TGetCCD, TGetCCD, (int32_t shutter, double exposure, uint16_t* buffer, int32_t camera), (shutter, exposure, buffer, camera))
CAMERA_EXPORT(void, QV_GetWinCCD, GetWinCCD, (int32_t shutter, double exposure, int32_t x, int32_t y, int32_t width, int32_t height, uint16_t* buffer, int32_t camera), (shutter, exposure, x, y, width, height, buffer, camera))
CAMERA_EXPORT(void, QV_FGetWinCCD, FGetWinCCD, (int32_t shutter, double exposure, int32_t x, int32_t y, int32_t width, int32_t height, uint16_t* buffer, int32_t camera), (shutter, exposure, x, y, width, height, buffer, camera))
CAMERA_EXPORT(void, QV_GetCCDPulsed, GetCCDPulsed, (int32_t shutter, int32_t fast, double exposureMs, double periodSeconds, uint16_t* buffer, int32_t camera), (shutter, fast, exposureMs, periodSeconds, buffer, camera))
CAMERA_EXPORT(void, QV_GetWinCCDPulsed, GetWinCCDPulsed, (int32_t shutter, int32_t fast, double exposureMs, double periodSeconds, int32_t x, int32_t y, int32_t width, int32_t height, uint16_t* buffer, int32_t camera), (shutter, fast, exposureMs, periodSeconds, x, y, width, height, buffer, camera))
CAMERA_EXPORT(void, QV_Matrix, Matrix, (int32_t operation, int32_t camera), (operation, camera))
CAMERA_EXPORT(uint16_t*, QV_MatrixPointer, MatrixPointer, (int32_t index, int32_t camera), (index, camera))
CAMERA_EXPORT(void, QV_MatrixSet, MatrixSet, (int32_t index, int32_t camera), (index, camera))
CAMERA_EXPORT(int32_t, QV_MatrixGet, MatrixGet, (int32_t camera), (camera))
CAMERA_EXPORT(uint16_t, QV_MatrixRead, MatrixRead, (int32_t x, int32_t y, int32_t camera), (x, y, camera))
CAMERA_EXPORT(int32_t, QV_MatrixSize, MatrixSize, (int32_t camera), (camera))

// armed acquisition
CAMERA_EXPORT(void, QV_ArmTimerHandle, ArmTimerHandle, (int32_t action, int32_t camera), (action, camera))

// temperature
CAMERA_EXPORT(void, QV_SetTemp, SetTemp, (double temperature, int32_t units, int32_t camera), (temperature, units, camera))
CAMERA_EXPORT(double, QV_GetTemp, GetTemp, (char* text, int32_t units, int32_t camera), (text, units, camera))
CAMERA_EXPORT(double, QV_ReadTemp, ReadTemp, (int32_t units, int32_t camera), (units, camera))
CAMERA_EXPORT(void, QV_Cooler, Cooler, (int32_t on, int32_t camera), (on, camera))
CAMERA_EXPORT(int32_t, QV_CoolerStatus, CoolerStatus, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_SetPower, SetPower, (double percent, int32_t camera), (percent, camera))
CAMERA_EXPORT(double, QV_GetPower, GetPower, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_TempCalib, TempCalib, (double offset, double span, int32_t camera), (offset, span, camera))
CAMERA_EXPORT(int32_t, QV_TemperatureHandle, TemperatureHandle, (int32_t camera), (camera))
CAMERA_EXPORT(int32_t, QV_GetTempHistory, GetTempHistory, (double* buffer, int32_t camera), (buffer, camera))
CAMERA_EXPORT(int32_t, QV_CheckTempEquil, CheckTempEquil, (int32_t count, double tolerance, int32_t camera), (count, tolerance, camera))

// shutter and trigger
CAMERA_EXPORT(void, QV_Shutter, Shutter, (double seconds, int32_t camera), (seconds, camera))
CAMERA_EXPORT(void, QV_ShutterControl, ShutterControl, (int32_t on, int32_t camera), (on, camera))
CAMERA_EXPORT(int32_t, QV_Trigger, Trigger, (int32_t wait, int32_t camera), (wait, camera))

// gain, binning, fan
CAMERA_EXPORT(void, QV_SetBinning, SetBinning, (int32_t horizontal, int32_t vertical, int32_t camera), (horizontal, vertical, camera))
CAMERA_EXPORT(void, QV_GetBinning, GetBinning, (int32_t* horizontal, int32_t* vertical, int32_t camera), (horizontal, vertical, camera))
CAMERA_EXPORT(int32_t, QV_SetGain, SetGain, (int32_t index, int32_t camera), (index, camera))
CAMERA_EXPORT(int32_t, QV_GetGain, GetGain, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_SetUsrGain, SetUsrGain, (int32_t gain, int32_t high, int32_t offset, int32_t camera), (gain, high, offset, camera))
CAMERA_EXPORT(void, QV_SetFanSpeed, SetFanSpeed, (double percent, int32_t camera), (percent, camera))

// kinetics, armed acquisition
CAMERA_EXPORT(void, QV_Kinetics, Kinetics, (int32_t shutter, double exposure, int32_t frames, int32_t x, int32_t y, int32_t width, int32_t height, uint16_t** buffers, int32_t camera), (shutter, exposure, frames, x, y, width, height, buffers, camera))
CAMERA_EXPORT(void, QV_KineticsCCD, KineticsCCD, (int32_t shutter, double interval, int32_t shifts, int32_t lines, uint16_t* buffer, int32_t camera), (shutter, interval, shifts, lines, buffer, camera))
CAMERA_EXPORT(void, QV_ArmAcquisition, ArmAcquisition, (double exposure, int32_t camera), (exposure, camera))
CAMERA_EXPORT(void, QV_StartAcquisition, StartAcquisition, (int32_t mode, int32_t camera), (mode, camera))
CAMERA_EXPORT(void, QV_GetImage, GetImage, (uint16_t* buffer, int32_t camera), (buffer, camera))
CAMERA_EXPORT(void, QV_FlushAcquisition, FlushAcquisition, (int32_t camera), (camera))

// arrays
CAMERA_EXPORT(void, QV_OpenArray, OpenArray, (const void* arrayConfig, int32_t platform, int32_t ccd, int32_t, uint32_t options, int32_t camera, QvExposureCallback exposureCallback, QvProgressCallback progressCallback), (arrayConfig, platform, ccd, options, camera, exposureCallback, progressCallback))
CAMERA_EXPORT(void, QV_AGetCCD, AGetCCD, (int32_t shutter, const double* exposures, uint16_t** buffers, int32_t camera), (shutter, exposures, buffers, camera))

// filter wheel, objective, plug-in device
CAMERA_EXPORT(void, QV_SetFilter, SetFilter, (int32_t position, int32_t camera), (position, camera))
CAMERA_EXPORT(void, QV_CalibFW, CalibFW, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_OpenFW, OpenFW, (int32_t setting, int32_t hold, int32_t zeroOffset, int32_t camera), (setting, hold, zeroOffset, camera))
CAMERA_EXPORT(void, QV_SetFW, SetFW, (int32_t setting, int32_t hold, int32_t zeroOffset, int32_t camera), (setting, hold, zeroOffset, camera))
CAMERA_EXPORT(int32_t, QV_IsThereFW, IsThereFW, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_ObjectiveControl, ObjectiveControl, (int32_t operation, uint16_t milliseconds, int32_t camera), (operation, milliseconds, camera))
CAMERA_EXPORT(int32_t, QV_Plug, Plug, (int32_t what, uint32_t* values, int32_t camera), (what, values, camera))

// image correction in the camera
CAMERA_EXPORT(void, QV_SetDNR, SetDNR, (int32_t mode, int32_t camera), (mode, camera))
CAMERA_EXPORT(int32_t, QV_GetDNR, GetDNR, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_SetBitDecimation, SetBitDecimation, (int32_t mode, int32_t camera), (mode, camera))

// interface card
CAMERA_EXPORT(uint32_t, QV_GetKZBPCIAddress, GetKZBPCIAddress, (int32_t camera), (camera))
CAMERA_EXPORT(uint32_t, QV_GetKZBPCIRevision, GetKZBPCIRevision, (int32_t selected, int32_t camera), (selected, camera))

// camera memory, registers
CAMERA_EXPORT(uint16_t, QV_ReadEP, ReadEP, (int32_t address, int32_t camera), (address, camera))
CAMERA_EXPORT(void, QV_WriteEP, WriteEP, (int32_t address, int32_t value, int32_t camera), (address, value, camera))
CAMERA_EXPORT(int32_t, QV_GetSerNum, GetSerNum, (int32_t camera), (camera))
CAMERA_EXPORT(void, QV_SetSerNum, SetSerNum, (int32_t serial, int32_t format, int32_t camera), (serial, format, camera))
CAMERA_EXPORT(void, QV_WRReg, WRReg, (int32_t reg, int32_t value, int32_t camera), (reg, value, camera))
CAMERA_EXPORT(uint16_t, QV_RDReg, RDReg, (int32_t reg, int32_t camera), (reg, camera))
CAMERA_EXPORT(uint16_t, QV_RMReg, RMReg, (int32_t reg, int32_t camera), (reg, camera))
CAMERA_EXPORT(void, QV_WMReg, WMReg, (int32_t reg, int32_t value, int32_t camera), (reg, value, camera))
CAMERA_EXPORT(uint32_t, QV_GetStatus, GetStatus, (int32_t number, int32_t camera), (number, camera))
CAMERA_EXPORT(void, QV_Poke, Poke, (int32_t address, int32_t value, int32_t camera), (address, value, camera))
CAMERA_EXPORT(int32_t, QV_Peek, Peek, (int32_t address, int32_t camera), (address, camera))
CAMERA_EXPORT(void, QV_PokeW, PokeW, (int32_t address, int32_t value, int32_t camera), (address, value, camera))
CAMERA_EXPORT(int32_t, QV_PeekW, PeekW, (int32_t address, int32_t camera), (address, camera))
CAMERA_EXPORT(int32_t, QV_QuerySts, QuerySts, (int32_t which, int32_t camera), (which, camera))
CAMERA_EXPORT(int32_t, QV_GetAD, GetAD, (int32_t channel, int32_t camera), (channel, camera))

// clang-format on

namespace {

// Runs when the host loads the library.
const bool Loaded = [] {
    LibraryInit();
    return true;
}();

} // namespace
