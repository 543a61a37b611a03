// DEMO (platform 1): a camera made of software.
#pragma once
#include <cstdint>

#include "core/binding.h"
#include "core/record.h"

extern const BindingRule DemoRules[];

// Releases the camera's source image.
void DemoClose(int32_t camera);

// What all simulated cameras share. Shared with the timer, but for the image.
extern int32_t DemoOpenCount;                 // opened and not yet closed; a failed open counts
extern uint32_t DemoGenerator;                // state of the random numbers
extern int32_t DemoFileWidth, DemoFileHeight; // of the raw image, pixels
extern uint32_t DemoCooler[CameraCount];      // bit 0: on
extern int32_t DemoPower[CameraCount];        // last one given; stored only
extern double DemoAmbient[CameraCount];       // Celsius

// The full sensor as it is exposed, row after row, with the size that the sensor
// had when the camera was opened; null while there is none.
struct DemoSource {
    uint16_t* pixels;
    int32_t columns, rows;
};
extern DemoSource DemoImage[CameraCount];
