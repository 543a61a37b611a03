// The option word of a camera, given at open and changed by QV_SetMode.
#pragma once
#include <cstdint>

enum CameraOption : uint32_t {
    OptionService = 0x0001,            // background service wanted
    OptionRegulation = 0x0002,         // temperature regulation in the background
    OptionExternalTrigger = 0x0004,    // wait for the trigger; no exposure countdown
    OptionKeepClean = 0x0008,          // clear the sensor in the background and before exposures
    OptionExternalExposure = 0x0010,   // SetShutter is left out where the platform honours it
    OptionSilent = 0x0020,             // no progress reports during readout
    OptionCoolerLineLow = 0x0040,      // bit 0x40 of register 12 stays clear with the cooler on
    OptionSmoothLines = 0x0080,        // line smoothing of the Tarn_III and Tarn_IIIA readouts
    OptionClearWhileExposing = 0x0100, // ClearOnce during long exposures
    OptionLimitCooler = 0x0200,        // cooler power at most 800
    OptionFanAtExposure = 0x0400,      // platform 50: fan set at exposure start
    OptionPortLibrary = 0x0800,        // ports through io.dll; real-time priority path
    OptionPriority = 0x1000,           // raise priority around the readout loop
    OptionCardDma = 0x2000,            // frames by DMA through the interface card
    OptionNoAutoDma = 0x4000,          // never switch to DMA on its own
    OptionInternalBuffers = 0x8000,    // frames go to the internal buffers
};

inline constexpr uint32_t OptionsWithTimer = OptionService | OptionRegulation;
