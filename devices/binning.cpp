#include "devices/binning.h"

#include "core/errors.h"
#include "core/flags.h"
#include "core/open_close.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "sequencer/rebuild.h"

void SetBinning(int32_t horizontal, int32_t vertical, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StopNow(camera);
    if (record.ArrayMode != 0) {
        record.ArrayHorizontalBinning[camera] = horizontal;
        record.ArrayVerticalBinning[camera] = vertical;
        Select(camera);
    }
    if (horizontal != 0 && vertical != 0) {
        const int32_t width = record.Ccd.Xpix / horizontal & 0xFFFE;
        const int8_t windowBuilt = record.WindowBuilt;
        record.WindowBuilt = 0; // some builders go by it
        if (horizontal >= 1 && vertical >= 1) {
            RebuildSequencer(0, 0, width, horizontal, vertical, camera);
        }
        if (LoadFlag(record.LastError) == ErrorNone) {
            record.WindowDimX = static_cast<uint16_t>(width);
            record.WindowDimY = static_cast<uint16_t>(record.Ccd.Ypix / vertical);
        } else {
            record.WindowBuilt = windowBuilt;
        }
    }
    StartNow(camera);
}

void GetBinning(int32_t* horizontal, int32_t* vertical, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const bool isArray = record.ArrayMode != 0;
    if (horizontal != nullptr) {
        *horizontal = isArray ? record.ArrayHorizontalBinning[camera] : record.HorBinning;
    }
    if (vertical != nullptr) {
        *vertical = isArray ? record.ArrayVerticalBinning[camera] : record.VerBinning;
    }
}
