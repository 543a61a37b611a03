#include "acquisition/armed.h"

#include "core/open_close.h"
#include "core/record.h"

void ArmAcquisition(double exposure, int32_t camera)
{
    Select(camera);
    CameraTable[camera].ExposureTime = exposure;
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.ArmFrame != nullptr) extras.ArmFrame(exposure, camera);
}

void StartAcquisition(int32_t mode, int32_t camera)
{
    Select(camera);
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.StartFrame != nullptr) extras.StartFrame(mode, camera);
}

void GetImage(uint16_t* buffer, int32_t camera)
{
    Select(camera);
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.FetchFrame != nullptr) extras.FetchFrame(buffer, camera);
}

void FlushAcquisition(int32_t camera)
{
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.GiveUpFrame == nullptr) return;
    Select(camera);
    extras.GiveUpFrame(camera);
}
