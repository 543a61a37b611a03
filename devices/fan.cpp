#include "devices/fan.h"

#include "core/open_close.h"
#include "core/record.h"
#include "core/timer_service.h"

void SetFanSpeed(double percent, int32_t camera)
{
    StopNow(camera);
    Select(camera);
    const DriverExtras* extras = CameraTable[camera].Extras;
    if (extras != nullptr && extras->SetFan != nullptr) extras->SetFan(percent, camera);
    StartNow(camera);
}
