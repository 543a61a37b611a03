#include "links/delay.h"

#include "core/record.h"
#include "platform/card_records.h"
#include "platform/system.h"

void DelayMicroseconds(uint32_t microseconds, int32_t camera)
{
    const uint64_t device = CameraTable[camera].WdHandle;
    WD_SLEEP sleep = {.dwMicroSeconds = microseconds, .dwOptions = 0};
    if (device != 0 && System.device.Control(device, WD_Sleep, &sleep, sizeof sleep) == 0) return;
    System.clock.SleepMicroseconds(microseconds);
}
