#include "bench/record_loan.h"

#include <cmath>
#include <cstring>

#include "catalogue/definition_file.h"
#include "core/binding.h"
#include "core/errors.h"
#include "core/flags.h"

namespace {

void KeepFields(const CameraRecord& record, int32_t camera, RecordLoan* loan)
{
    loan->camera = camera;
    loan->platformCode = record.PlatformCode;
    loan->ccdCode = record.CcdCode;
    loan->ccdFamily = record.CcdFamily;
    loan->lastError = LoadFlag(record.LastError);
    loan->interfaceType = record.InterfaceType;
    loan->waveExtraCount = record.WaveExtraCount;
    loan->waveOption = record.WaveOption;
    loan->dnrMode = record.DnrMode;
    loan->cameraVariant = record.CameraVariant;
    loan->alternatePolarity = record.AlternatePolarity;
    memcpy(loan->platformShortCode, record.PlatformShortCode, sizeof loan->platformShortCode);
    memcpy(loan->sequenceTable, record.SequenceTable, sizeof loan->sequenceTable);
    loan->platform = record.Platform;
    loan->ccd = record.Ccd;
    loan->config = record.Config;
    loan->progress = record.Ops.ProgressCallback;
}

void SetIfTold(int32_t value, int32_t* field)
{
    if (value != Keep) *field = value;
}

// What the binding would set.
void FurnishAsBound(const QvbWaveRequest& request, CameraRecord* record)
{
    int32_t polarity = 0;
    const PlatformBinding* binding = FindPlatformBinding(request.Platform);
    const BuilderRow* row = FindBuilder(request.Platform, request.Sensor, request.InterfaceType);
    record->InterfaceType = request.InterfaceType;
    record->WaveExtraCount = 0;
    if (binding != nullptr) {
        SetIfTold(binding->waveExtraCount, &record->WaveExtraCount);
        SetIfTold(binding->alternatePolarity, &polarity);
    }
    if (row != nullptr) SetIfTold(row->waveExtraCount, &record->WaveExtraCount);
    record->AlternatePolarity = static_cast<uint8_t>(polarity);
}

void Furnish(const QvbWaveRequest& request, CameraRecord* record)
{
    FurnishAsBound(request, record);
    record->WaveOption = 0;
    record->DnrMode = request.DnrMode;
    record->CameraVariant = request.CameraVariant;
    record->Config.CcdOutput = request.CcdOutput;
    record->Config.CcdTechnology = request.CcdTechnology;
    record->Config.CcdBackFront = request.CcdBackFront;
    memset(record->SequenceTable, 0, sizeof record->SequenceTable);
    // The last host's callback has no part in this.
    record->Ops.ProgressCallback = UnboundOps.ProgressCallback;
}

// A key that is missing reads as 0, and such a sensor or clock is none.
bool IsUsable(const CameraRecord& record)
{
    const double tick = record.Platform.SamplingClock[0];
    const CcdDefinition& ccd = record.Ccd;
    return std::isfinite(tick) && tick > 0.0 && ccd.Xpix > 0 && ccd.Ypix > 0 && ccd.HorRegSize > 0;
}

} // namespace

int32_t TakeRecord(const QvbWaveRequest& request, RecordLoan* loan)
{
    CameraRecord& record = CameraTable[request.Camera];
    if (LoadFlag(record.CameraOn) != 0) return QVB_ERROR_CAMERA_OPEN;
    KeepFields(record, request.Camera, loan);
    int32_t code = ErrorNone;
    if (OpenPar(request.Platform, request.Sensor, request.Camera) != 0) {
        code = LoadFlag(record.LastError);
    } else if (!IsUsable(record)) {
        code = QVB_ERROR_DEFINITION;
    }
    if (code == ErrorNone) {
        Furnish(request, &record);
    } else {
        ReturnRecord(*loan);
    }
    return code;
}

void ReturnRecord(const RecordLoan& loan)
{
    CameraRecord& record = CameraTable[loan.camera];
    record.PlatformCode = loan.platformCode;
    record.CcdCode = loan.ccdCode;
    record.CcdFamily = loan.ccdFamily;
    StoreFlag(&record.LastError, loan.lastError);
    record.InterfaceType = loan.interfaceType;
    record.WaveExtraCount = loan.waveExtraCount;
    record.WaveOption = loan.waveOption;
    record.DnrMode = loan.dnrMode;
    record.CameraVariant = loan.cameraVariant;
    record.AlternatePolarity = loan.alternatePolarity;
    memcpy(record.PlatformShortCode, loan.platformShortCode, sizeof loan.platformShortCode);
    memcpy(record.SequenceTable, loan.sequenceTable, sizeof loan.sequenceTable);
    record.Platform = loan.platform;
    record.Ccd = loan.ccd;
    record.Config = loan.config;
    record.Ops.ProgressCallback = loan.progress;
}
