// The small calls that read and set a record without touching the camera.
#pragma once
#include <cstdint>

#include "include/qvn.h"

int32_t Status(int32_t camera);
int32_t Ver(char* buffer);
uint32_t WDVer(char* buffer, int32_t camera);
uint16_t MaxNumbers(int32_t camera);
void SetPathName(const char* path);
void Delay(uint32_t milliseconds);
int32_t IsOn(int32_t camera);
uint32_t GetMode(int32_t camera);
uint32_t SetMode(uint32_t bits, int32_t on, int32_t camera);
void BrkFlg(int32_t camera);
void RWData(int32_t what, int32_t out, void* buffer, int32_t camera);
void SetKZBPCI(int32_t index, int32_t camera);
void InitCfg(CameraConfig* config);
void InitOptions(const CameraConfig* config, int32_t camera);

// Option 0x1000: raises, and lowers again, the priority around a readout loop.
void SetReadoutPriority(int32_t on, int32_t camera);

// Calls ProgressCallback, unless the camera is silent (option 0x0020).
void ReportProgress(const char* text, int32_t percent, int32_t camera);
