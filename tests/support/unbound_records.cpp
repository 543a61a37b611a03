#include "tests/support/unbound_records.h"

#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"

void UnbindRecords()
{
    EmuReset();
    EmuInstall();
    ResetTimerService();
    for (CameraRecord& record : CameraTable) {
        record = CameraRecord{};
        record.Ops = UnboundOps;
    }
}
