#include "devices/gain.h"

#include "core/open_close.h"
#include "core/record.h"
#include "core/timer_service.h"

namespace {

constexpr int32_t UserGainIndex = 4;

} // namespace

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

void SetUsrGain(int32_t gain, int32_t high, int32_t offset, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StopNow(camera);
    Select(camera);
    record.UserGain = static_cast<uint8_t>(gain & 0xFF);
    record.UserGainHigh = static_cast<int8_t>(high & 0xFF);
    record.UserOffset = static_cast<uint16_t>(offset & 0xFFFF);
    record.GainIndex = UserGainIndex;
    record.Ops.SetGain(camera);
    StartNow(camera);
}
