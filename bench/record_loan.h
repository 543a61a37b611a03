// A closed camera's record, lent out: builders read the camera they build for, so the
// camera of a request takes the place of the record's own for as long as they work.
#pragma once
#include <cstdint>

#include "core/record.h"
#include "include/qvn_bench.h"

struct RecordLoan {
    int32_t camera;
    // As they were.
    int32_t platformCode, ccdCode, ccdFamily, lastError, interfaceType, waveExtraCount, waveOption;
    int32_t dnrMode, cameraVariant;
    uint8_t alternatePolarity;
    char platformShortCode[sizeof(CameraRecord::PlatformShortCode)];
    uint16_t sequenceTable[12];
    PlatformDefinition platform;
    CcdDefinition ccd;
    CameraConfig config;
    decltype(CameraOps::ProgressCallback) progress;
};

// 0 and the record is the request's; else it is as it was: QVB_ERROR_CAMERA_OPEN, 5 or 6, or
// QVB_ERROR_DEFINITION. The request is a valid one.
int32_t TakeRecord(const QvbWaveRequest& request, RecordLoan* loan);
void ReturnRecord(const RecordLoan& loan);
