#include "devices/fan.h"

#include "core/open_close.h"
#include "core/record.h"
#include "core/timer_service.h"

void SetFanSpeed(double percent, int32_t camera)
{
    StopNow(camera);
    Select(camera);
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.SetFan != nullptr) extras.SetFan(percent, camera);
    StartNow(camera);
}
