// Open, close and selection of a camera.
#pragma once
#include <cstdint>

#include "include/qvn.h"

// Finds the default folder; on its first run clears the table and the timer.
void LibraryInit();

void Open(int32_t platform, int32_t ccd, int32_t address, int32_t interfaceType, int32_t attach,
          int32_t camera, uint32_t options, QvExposureCallback exposureCallback,
          QvProgressCallback progressCallback);
void OpenWithoutCallbacks(int32_t platform, int32_t ccd, int32_t address, int32_t interfaceType,
                          int32_t attach, int32_t camera, uint32_t options);

// The camera is the configuration's PciIndex. Null if that is no camera.
CameraConfig* OpenByConfig(const CameraConfig* config, int32_t attach,
                           QvExposureCallback exposureCallback,
                           QvProgressCallback progressCallback);
int32_t OpenByFile(const char* fileName, int32_t attach, QvExposureCallback exposureCallback,
                   QvProgressCallback progressCallback);
int32_t OpenByFileWithoutCallbacks(const char* fileName, int32_t attach);

// What every form of open does ahead of the driver's own: resets the record,
// reads the definitions, binds the operations. 0, or 1 with LastError set.
int32_t PrepareCamera(int32_t platform, int32_t ccd, int32_t interfaceType, int32_t camera,
                      uint32_t options, QvExposureCallback exposureCallback,
                      QvProgressCallback progressCallback);

void Close(int32_t camera);

// Opens the heads behind one card as one camera, on platforms 42 and 44. LastError tells.
void OpenArray(const void* arrayConfig, int32_t platform, int32_t ccd, uint32_t options,
               int32_t camera, QvExposureCallback exposureCallback,
               QvProgressCallback progressCallback);

// Array mode: makes `head` the one that listens and whose shadows stand in the record.
void SelectHead(int32_t head, int32_t camera);
bool IsHeadFitted(int32_t head, int32_t camera);

// Array mode: makes the camera number's head the current one. Else nothing.
void Select(int32_t camera);
void SubSelect(int32_t camera, int32_t subCamera);

// Flushes the sensor, with the timer held off.
void ClearCCD(int32_t camera);

// Stores `function` in a slot; see SetOpsSlot.
void SetFunction(int32_t slot, void* function, int32_t camera);
