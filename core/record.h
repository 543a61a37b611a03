// The camera table: all that the library knows about its eight cameras, and the
// few values that belong to the library as a whole.
#pragma once
#include <cstddef>
#include <cstdint>

#include "core/ops.h"
#include "include/qvn.h"

static_assert(sizeof(CcdDefinition) == 72);
static_assert(offsetof(CcdDefinition, Dummy) == 6);
static_assert(offsetof(CcdDefinition, XpixDim) == 24);
static_assert(sizeof(PlatformDefinition) == 88);
static_assert(offsetof(PlatformDefinition, TimeBase) == 16);
static_assert(offsetof(PlatformDefinition, Gain) == 56);
static_assert(sizeof(CameraConfig) == 156);
static_assert(offsetof(CameraConfig, PciIndex) == 24);
static_assert(offsetof(CameraConfig, ShutterHisteresys) == 48);
static_assert(offsetof(CameraConfig, DefectiveList) == 76);

inline constexpr int32_t CameraCount = 8;
inline constexpr int32_t SubCameraCount = 4;
inline constexpr int32_t HeadCount = 8;
inline constexpr int32_t MatrixCount = 16;
inline constexpr int32_t RegisterCount = 32;
inline constexpr int32_t HistoryLength = 7200;
inline constexpr size_t PathRoom = 1024;
inline constexpr size_t FileNameRoom = PathRoom + 16; // LibraryPath and a plain file name

// How the camera is attached. The three card types differ in the bus behind the card.
enum InterfaceKind : int32_t {
    InterfacePort0 = 0,
    InterfacePort1 = 1,
    InterfaceCard2 = 2,
    InterfaceCard4 = 4,
    InterfaceUsb = 6,
    InterfaceCard70 = 70,
};

struct ArrayDescription {
    uint16_t words[4]; // word 1: mask of the heads in use
};

struct CameraRecord {
    int32_t SubCamera;
    uint16_t CardDeviceId;
    int32_t BackgroundTicks; // shared with the timer
    int32_t DnrMode;
    int32_t CcdCode;
    int32_t LastError; // shared with the timer
    char PlatformShortCode[8];
    int32_t CcdFamily;
    int32_t WaveExtraCount;
    int32_t InterfaceType;
    int32_t VerBinning;
    int32_t HorBinning;
    int32_t GainIndex;
    int32_t WaveOption;
    double ExposureTime;  // seconds
    int8_t BreakFlag;     // set from any thread
    int32_t PlatformCode; // of the definitions in place
    int32_t LinkPlatform; // whose driver opened the link, and closes it
    int32_t FanSpeed;
    uint32_t Options; // shared with the timer
    int32_t CameraOn; // read from any thread
    int8_t ArrayMode; // read from any thread
    int8_t FirstTemperature;
    int8_t ShutterHeld;
    int32_t ShutterMode; // platform 60
    uint64_t UsbHandle;
    CameraConfig Config;
    int32_t BuiltWindowX, BuiltWindowY, BuiltWindowWidth, BuiltWindowHeight;
    int32_t BuiltHorBinning, BuiltVerBinning;
    int8_t WindowBuilt;
    uint16_t WindowDimX, WindowDimY;
    uint16_t CameraBusAddress;
    int32_t CardMapped;
    uint16_t MaxValue;
    uint64_t WdHandle;
    uint32_t CardAddress; // processor address of the card's register window
    uint64_t CardWindow;  // the window as the kernel driver maps it; 0: dropped writes, all ones
    void* DmaRecord;      // lock record of the kernel driver, with its pages; null: not locked
    uint32_t DmaRecordBytes;
    uint32_t DmaBytes;   // locked
    uint32_t DmaAddress; // physical address of the first page
    void* DmaMemory;     // the library's own block, where the driver's could not be had
    uint16_t* DmaBuffer;
    uint8_t SerialLink;             // a serial decoder sits between card and camera
    uint8_t SerialLinkAcknowledged; // and told that it is of the second kind
    uint16_t PortBase;
    uint16_t DataPort, StatusPort, ControlPort; // of the printer port
    uint16_t ControlShadow;                     // of the printer port's control register
    uint16_t WordPeriodNs;                      // time of a pixel
    uint16_t Registers[RegisterCount];
    uint8_t ByteRegisters[256]; // of the uNOD family, whose registers are a flat map of bytes
    uint16_t HeadRegisters[HeadCount][RegisterCount];
    uint16_t HeadSequenceTable[HeadCount][12];
    int32_t HeadFilterPosition[HeadCount];
    int32_t HeadFilterPhase[HeadCount];
    int32_t CameraVariant;      // OSPREY: from status 10 at open
    uint16_t SequenceTable[12]; // start and end of the pattern's sections
    int32_t LoadedGain;
    uint8_t UserGain;
    int8_t UserGainHigh;
    uint16_t UserOffset;
    uint16_t FanLevel;
    uint8_t LineSkew;
    uint8_t ReadingFrame; // USB cameras with a pattern: lines may come; shared with the timer
    int32_t FilterPhase;  // of the wheel's stepper, 0 to 3
    uint8_t AlternatePolarity;
    int32_t FilterStepDelay;
    int32_t FilterPosition;               // believed, not measured
    int32_t FilterPositions[CameraCount]; // that QV_SetFilter was given last; 40 to 42
    int16_t FilterSetting, FilterHold, FilterZeroOffset;

    // The temperature block. Temperatures are degrees Celsius.
    int32_t TickDuration; // milliseconds; shared with the timer
    uint8_t AtTemperature;
    int32_t RegulationOn;
    int32_t RegulationActive;
    double TargetTemperature;
    double RoundedTemperature;
    double PreviousTemperature;
    int32_t RegulationCountdown;
    double CurrentTemperature; // shared with the timer
    int32_t CoolerPower;       // tenths of a percent; shared with the timer
    int8_t CoolerStatus;       // shared with the timer
    double TemperatureSpan[HeadCount];
    double TemperatureOffset[HeadCount];
    uint8_t SenseResistorHigh[HeadCount];
    int32_t TemperatureDecimals;                         // read from any thread
    double TemperatureHistory[HeadCount][HistoryLength]; // shared with the timer
    int32_t TemperatureHistoryCount[HeadCount];          // shared with the timer
    uint8_t TemperatureHistoryFull[HeadCount];           // shared with the timer
    double ArrayTemperature[HeadCount];
    int32_t ArrayPower[HeadCount];
    double SubRoundedTemperature[HeadCount];
    int32_t SubPower[HeadCount];
    double SubPreviousTemperature[HeadCount];
    double SubTargetTemperature[HeadCount];
    int32_t SubCountdown[HeadCount];
    int32_t SubRegulationOn[HeadCount];
    int32_t SubRegulationActive[HeadCount];
    int16_t TemperatureOffsetWord, TemperatureSpanWord; // tenths

    double HeadExposure[HeadCount]; // seconds
    int32_t ArrayHorizontalBinning[HeadCount];
    int32_t ArrayVerticalBinning[HeadCount];
    int32_t ArrayGain[HeadCount];

    uint16_t* Matrix[MatrixCount];
    size_t MatrixBytes[MatrixCount]; // allocated sizes
    int32_t MatrixIndex;
    PlatformDefinition Platform; // directly before the sensor's
    CcdDefinition Ccd;
    CameraOps Ops;
    const DriverExtras* Extras; // of the platform that was bound last; null: none
    ArrayDescription ArrayConfig;
    int32_t CurrentArrayCamera;
};

extern CameraRecord CameraTable[CameraCount];

// Never null, whatever is bound.
inline const DriverExtras& ExtrasOf(int32_t camera)
{
    const DriverExtras* extras = CameraTable[camera].Extras;
    return extras == nullptr ? NoExtras : *extras;
}

extern int32_t LibraryReady;
extern char LibraryPath[PathRoom + 1]; // with a trailing separator, or empty
extern int32_t EepromWiring; // bit positions of camera memory, as the last binding left it

inline bool IsCamera(int32_t camera)
{
    return camera >= 0 && camera < CameraCount;
}

// The sub-camera's element of the per-head calibration arrays. The number comes
// unchecked from the configuration.
inline int32_t HeadIndex(const CameraRecord& record)
{
    return record.SubCamera & (HeadCount - 1);
}

// Writes LibraryPath followed by `name` to `path`, which has FileNameRoom characters.
void ComposeLibraryFile(char* path, const char* name);
