// The functions of qvn.h that the layer calls. Nothing here calls the library by any other
// way.
#pragma once
#include "include/qvn_supervisor.h"

#define QVNS_LIBRARY(FUNCTION)                                                                     \
    FUNCTION(Status)                                                                               \
    FUNCTION(ErrorMessage)                                                                         \
    FUNCTION(MaxNumbers)                                                                           \
    FUNCTION(SetPathName)                                                                          \
    FUNCTION(Delay)                                                                                \
    FUNCTION(IsOn)                                                                                 \
    FUNCTION(GetMode)                                                                              \
    FUNCTION(SetMode)                                                                              \
    FUNCTION(BrkFlg)                                                                               \
    FUNCTION(InitCfg)                                                                              \
    FUNCTION(InitOptions)                                                                          \
    FUNCTION(Open)                                                                                 \
    FUNCTION(OpenByConfig)                                                                         \
    FUNCTION(OpenPar)                                                                              \
    FUNCTION(Close)                                                                                \
    FUNCTION(ClearCCD)                                                                             \
    FUNCTION(GetCCDdata)                                                                           \
    FUNCTION(GetHPdata)                                                                            \
    FUNCTION(FGetCCD)                                                                              \
    FUNCTION(FGetWinCCD)                                                                           \
    FUNCTION(SetTemp)                                                                              \
    FUNCTION(GetTemp)                                                                              \
    FUNCTION(ReadTemp)                                                                             \
    FUNCTION(Cooler)                                                                               \
    FUNCTION(CoolerStatus)                                                                         \
    FUNCTION(SetPower)                                                                             \
    FUNCTION(GetPower)                                                                             \
    FUNCTION(TemperatureHandle)                                                                    \
    FUNCTION(Trigger)                                                                              \
    FUNCTION(SetFilter)                                                                            \
    FUNCTION(CalibFW)                                                                              \
    FUNCTION(SetBinning)                                                                           \
    FUNCTION(GetBinning)                                                                           \
    FUNCTION(SetGain)                                                                              \
    FUNCTION(GetGain)                                                                              \
    FUNCTION(ReadEP)                                                                               \
    FUNCTION(RDReg)                                                                                \
    FUNCTION(GetStatus)                                                                            \
    FUNCTION(SetFanSpeed)                                                                          \
    FUNCTION(GetSerNum)

#define QVNS_FIELD(name) decltype(&QV_##name) name;
struct QvnFunctions {
    QVNS_LIBRARY(QVNS_FIELD)
};
#undef QVNS_FIELD

extern QvnFunctions Library;

// Those that this library is linked with, or, with `find`, those that it finds: false if one
// is missing.
bool FillLibrary(void* (*find)(const char* name, void* context), void* context);
