"""The records and prototypes of qvn.h and qvn_bench.h, for ctypes."""
from __future__ import annotations

import ctypes
from ctypes import (
    POINTER,
    c_char_p,
    c_double,
    c_int16,
    c_int32,
    c_int64,
    c_uint16,
    c_uint32,
    c_void_p,
)
from typing import Any, Sequence


class CameraConfig(ctypes.Structure):
    _fields_ = [
        ("AD", c_int32),
        ("Platform", c_int32),
        ("CCD", c_int32),
        ("InterfaceType", c_int32),
        ("InterfaceAddress", c_int32),
        ("CameraAddress", c_int32),
        ("PciIndex", c_int32),
        ("InterfaceLink", c_int32),
        ("FilterWheel", c_int32),
        ("FilterWheelPortAddress", c_int32),
        ("FilterWheelPortType", c_int32),
        ("ShutterType", c_int32),
        ("ShutterHisteresys", c_int32),
        ("CcdOutput", c_int32),
        ("CcdTechnology", c_int32),
        ("CcdBackFront", c_int32),
        ("Process", c_int32),
        ("Activity", c_int32),
        ("LongCable", c_int32),
        ("DefectiveList", ctypes.c_char * 80),
    ]


class CcdDefinition(ctypes.Structure):
    _fields_ = [
        ("Manufacturer", c_uint16),
        ("Xpix", c_int16),
        ("Ypix", c_int16),
        ("Dummy", c_uint16 * 4),
        ("HorDummyPix", c_int16),
        ("HorRegSize", c_int16),
        ("Antiblooming", c_uint16),
        ("MultipleOutput", c_uint16),
        ("Shutter", c_uint16),
        ("XpixDim", c_double),
        ("YpixDim", c_double),
        ("Xarea", c_double),
        ("Yarea", c_double),
        ("FWC", c_double),
        ("CCF", c_double),
    ]


class PlatformDefinition(ctypes.Structure):
    _fields_ = [
        ("Spare", c_uint16),
        ("ADbit", c_uint16),
        ("FpgaId", c_int16),
        ("VerticalPhasePeriod", c_uint16),
        ("NumberOfGains", c_int16),
        ("AntiBloomingTimer", c_int16),
        ("TimeBase", c_double),
        ("AmplifierDelay", c_double),
        ("ADclock", c_double),
        ("SamplingClock", c_double * 2),
        ("Gain", c_double * 4),
    ]


class Scene(ctypes.Structure):
    _fields_ = [("Pixels", POINTER(c_uint16)), ("Width", c_uint32), ("Height", c_uint32)]


class Instrument(ctypes.Structure):
    _fields_ = [
        ("Camera", c_int32),
        ("Platform", c_int32),
        ("Sensor", c_int32),
        ("InterfaceType", c_int32),
        ("InterfaceAddress", c_int32),
        ("InterfaceLink", c_int32),
        ("SceneFile", ctypes.c_char * 1024),
        ("Heads", c_int32),
        ("FilterWheel", c_int32),
    ]


class WaveRequest(ctypes.Structure):
    _fields_ = [
        ("Platform", c_int32),
        ("Sensor", c_int32),
        ("InterfaceType", c_int32),
        ("X", c_int32),
        ("Y", c_int32),
        ("Width", c_int32),
        ("Height", c_int32),
        ("HorBinning", c_int32),
        ("VerBinning", c_int32),
        ("CcdOutput", c_int32),
        ("CcdTechnology", c_int32),
        ("CcdBackFront", c_int32),
        ("DnrMode", c_int32),
        ("CameraVariant", c_int32),
        ("Camera", c_int32),
    ]


class WaveSection(ctypes.Structure):
    _fields_ = [("Start", c_uint32), ("Length", c_uint32)]


SECTION_NAMES = ("idle", "row", "pixel", "line", "extra-a", "extra-b")


class Wave(ctypes.Structure):
    _fields_ = [
        ("WordCount", c_uint32),
        ("WordLimit", c_uint32),
        ("WordBits", c_uint32),
        ("TickMicroseconds", c_double),
        ("Width", c_uint32),
        ("Height", c_uint32),
        ("Sections", WaveSection * len(SECTION_NAMES)),
        ("Builder", ctypes.c_char * 32),
    ]


class WaveLines(ctypes.Structure):
    _fields_ = [
        ("WordBits", c_uint32),
        ("WordLimit", c_uint32),
        ("Inverted", c_uint32),
        ("Row", c_uint32),
        ("Shift", c_uint32),
        ("Reset", c_uint32),
        ("Convert", c_uint32),
    ]


ExposureCallback = ctypes.CFUNCTYPE(None, c_char_p, c_int32)
ProgressCallback = ctypes.CFUNCTYPE(None, c_char_p, c_int32, c_int32)

PIXELS = POINTER(c_uint16)
ROWS = POINTER(PIXELS)
DOUBLES = POINTER(c_double)
_I = c_int32
_PLACE = [_I] * 4  # x, y, width, height

# Result and arguments.
Prototype = tuple[Any, Sequence[Any]]

LIBRARY: dict[str, Prototype] = {
    "QV_Status": (_I, [_I]),
    "QV_ErrorMessage": (c_char_p, [_I]),
    "QV_Ver": (_I, [c_char_p]),
    "QV_WDVer": (c_uint32, [c_char_p, _I]),
    "QV_MaxNumbers": (c_uint16, [_I]),
    "QV_SetPathName": (None, [c_char_p]),
    "QV_Delay": (None, [c_uint32]),
    "QV_IsOn": (_I, [_I]),
    "QV_GetMode": (c_uint32, [_I]),
    "QV_SetMode": (c_uint32, [c_uint32, _I, _I]),
    "QV_BrkFlg": (None, [_I]),
    "QV_RWData": (None, [_I, _I, c_void_p, _I]),
    "QV_InitCfg": (None, [POINTER(CameraConfig)]),
    "QV_InitOptions": (None, [POINTER(CameraConfig), _I]),
    "QV_Open": (None, [_I] * 6 + [c_uint32, ExposureCallback, ProgressCallback]),
    "QV_OpenPar": (_I, [_I] * 3),
    "QV_Close": (None, [_I]),
    "QV_Select": (None, [_I]),
    "QV_SubSelect": (None, [_I] * 2),
    "QV_StopNow": (None, [_I]),
    "QV_StartNow": (None, [_I]),
    "QV_ClearCCD": (None, [_I]),
    "QV_CamQuery": (_I, [POINTER(_I)]),
    "QV_CCDQuery": (_I, [_I, POINTER(_I)]),
    "QV_CCDtoNameVB": (c_char_p, [_I, c_char_p, _I]),
    "QV_PTFtoNameVB": (c_char_p, [_I, c_char_p, _I]),
    "QV_FamtoNameVB": (c_char_p, [_I, c_char_p]),
    "QV_GetCCDdata": (None, [POINTER(CcdDefinition), _I]),
    "QV_GetHPdata": (None, [POINTER(PlatformDefinition), _I]),
    "QV_LoadCCD": (c_int64, [_I] * 2),
    "QV_SaveCCD": (c_int64, [_I] * 2),
    "QV_LoadPlatform": (c_int64, [_I] * 3),
    "QV_SavePlatform": (c_int64, [_I] * 3),
    "QV_LoadCameraConfig": (_I, [c_char_p, POINTER(CameraConfig)]),
    "QV_SaveCameraConfig": (_I, [c_char_p, POINTER(CameraConfig)]),
    "QV_FGetCCD": (None, [_I, c_double, PIXELS, _I]),
    "QV_TGetCCD": (None, [_I, c_double, PIXELS, _I]),
    "QV_FGetWinCCD": (None, [_I, c_double, *_PLACE, PIXELS, _I]),
    "QV_GetCCDPulsed": (None, [_I, _I, c_double, c_double, PIXELS, _I]),
    "QV_GetWinCCDPulsed": (None, [_I, _I, c_double, c_double, *_PLACE, PIXELS, _I]),
    "QV_Kinetics": (None, [_I, c_double, _I, *_PLACE, ROWS, _I]),
    "QV_KineticsCCD": (None, [_I, c_double, _I, _I, PIXELS, _I]),
    "QV_ArmAcquisition": (None, [c_double, _I]),
    "QV_StartAcquisition": (None, [_I] * 2),
    "QV_GetImage": (None, [PIXELS, _I]),
    "QV_FlushAcquisition": (None, [_I]),
    "QV_OpenArray": (
        None,
        [c_void_p, *[_I] * 3, c_uint32, _I, ExposureCallback, ProgressCallback],
    ),
    "QV_AGetCCD": (None, [_I, DOUBLES, ROWS, _I]),
    "QV_SetDNR": (None, [_I] * 2),
    "QV_GetDNR": (_I, [_I]),
    "QV_SetBitDecimation": (None, [_I] * 2),
    "QV_SetTemp": (None, [c_double, _I, _I]),
    "QV_GetTemp": (c_double, [c_char_p, _I, _I]),
    "QV_ReadTemp": (c_double, [_I] * 2),
    "QV_TemperatureHandle": (_I, [_I]),
    "QV_Cooler": (None, [_I] * 2),
    "QV_SetPower": (None, [c_double, _I]),
    "QV_GetPower": (c_double, [_I]),
    "QV_TempCalib": (None, [c_double, c_double, _I]),
    "QV_Shutter": (None, [c_double, _I]),
    "QV_ShutterControl": (None, [_I] * 2),
    "QV_Trigger": (_I, [_I] * 2),
    "QV_SetFilter": (None, [_I] * 2),
    "QV_CalibFW": (None, [_I]),
    "QV_OpenFW": (None, [_I] * 4),
    "QV_SetFW": (None, [_I] * 4),
    "QV_ObjectiveControl": (None, [_I, c_uint16, _I]),
    "QV_Plug": (_I, [_I, POINTER(c_uint32), _I]),
    "QV_SetBinning": (None, [_I] * 3),
    "QV_GetBinning": (None, [POINTER(_I), POINTER(_I), _I]),
    "QV_SetGain": (_I, [_I] * 2),
    "QV_GetGain": (_I, [_I]),
    "QV_SetUsrGain": (None, [_I] * 4),
    "QV_SetFanSpeed": (None, [c_double, _I]),
    "QV_GetKZBPCIAddress": (c_uint32, [_I]),
    "QV_GetKZBPCIRevision": (c_uint32, [_I] * 2),
    "QV_ReadEP": (c_uint16, [_I] * 2),
    "QV_WriteEP": (None, [_I] * 3),
    "QV_GetSerNum": (_I, [_I]),
    "QV_SetSerNum": (None, [_I] * 3),
    "QV_WRReg": (None, [_I] * 3),
    "QV_RDReg": (c_uint16, [_I] * 2),
    "QV_RMReg": (c_uint16, [_I] * 2),
    "QV_WMReg": (None, [_I] * 3),
    "QV_GetStatus": (c_uint32, [_I] * 2),
    "QV_Poke": (None, [_I] * 3),
    "QV_Peek": (_I, [_I] * 2),
    "QV_PokeW": (None, [_I] * 3),
    "QV_PeekW": (_I, [_I] * 2),
    "QV_QuerySts": (_I, [_I] * 2),
    "QV_GetAD": (_I, [_I] * 2),
}

BENCH: dict[str, Prototype] = {
    "QVB_ErrorMessage": (c_char_p, [_I]),
    "QVB_InitWaveRequest": (None, [POINTER(WaveRequest)]),
    "QVB_BuildWave": (_I, [POINTER(WaveRequest), c_char_p, POINTER(Wave)]),
    "QVB_WaveLines": (_I, [_I, _I, _I, _I, POINTER(WaveLines)]),
    "QVB_LineName": (_I, [_I, _I, _I, _I, c_char_p, c_uint32]),
    "QVB_Install": (_I, [c_char_p, c_char_p, c_uint32]),
    "QVB_Uninstall": (_I, []),
    "QVB_InstrumentCount": (_I, []),
    "QVB_Instrument": (_I, [_I, POINTER(Instrument)]),
    "QVB_HeadSceneFile": (_I, [_I, _I, c_char_p, c_uint32]),
    "QVB_SetScene": (_I, [_I, POINTER(Scene)]),
    "QVB_SetHeadScene": (_I, [_I, _I, POINTER(Scene)]),
    "QVB_Schedule": (_I, [_I, _I, c_double]),
    "QVB_Trace": (_I, [c_char_p]),
    "QVB_TimeIsVirtual": (_I, []),
    "QVB_Seconds": (c_double, []),
}
