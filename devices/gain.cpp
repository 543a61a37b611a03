#include "devices/gain.h"

#include "core/open_close.h"
#include "core/record.h"
#include "core/timer_service.h"

int32_t SetGain(int32_t index, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StopNow(camera);
    Select(camera);
    if (record.ArrayMode != 0) record.ArrayGain[camera] = index;
    record.GainIndex = index;
    const int32_t result = record.Ops.SetGain(camera);
    StartNow(camera);
    return result;
}

int32_t GetGain(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    return record.ArrayMode != 0 ? record.ArrayGain[camera] : record.GainIndex;
}
