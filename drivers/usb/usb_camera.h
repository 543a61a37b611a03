// What cameras on USB share, whatever their wire language. The steps of a read that every
// camera has (clear, exposure, announcement) are in drivers/bus/bus_camera.h.
#pragma once
#include <cstddef>
#include <cstdint>

#include "core/ops.h"

struct CameraRecord;

// The slots that do nothing on USB: 2 to 8, 19 to 29 and 31 to 33. Over CommonOps.
extern const CameraOps UsbCameraOps;

// The time of a pixel, as the definition has it.
void StoreWordPeriod(int32_t camera);
// Span and offset, by the camera's number, until its own are known.
void PresetUsbCalibration(int32_t camera);

// Whether a read is to arm the external trigger: the option, and no break that is pending.
bool IsTriggerWanted(int32_t camera);

// Bytes of an image; a side below 0 counts as 0.
uint32_t ImageBytes(int32_t width, int32_t height);

// A zeroed block for a transfer and `slack` bytes behind it, or null. To be released
// through System.memory.
uint8_t* AllocateTransfer(uint32_t bytes, uint32_t slack);

// One read of all `bytes`: 0, or 2 if fewer came.
int32_t ReceiveImage(void* buffer, uint32_t bytes, int32_t camera);

// A reading of 12 bits across the sense resistor.
double ConverterCelsius(uint32_t raw, double kiloohms);
// A reading of 16 bits, as a camera's signal processor takes it: calibrated, span first,
// and stored.
void StoreProcessorReading(uint32_t raw, int32_t camera);

// The entry of a gain table of four for GainIndex, which is stored as loaded: the user's
// for index 4, the first one for an index that no table has.
uint32_t SelectGain(const uint8_t* gains, int32_t camera);
