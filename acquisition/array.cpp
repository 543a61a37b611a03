#include "acquisition/array.h"

#include "acquisition/window.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/open_close.h"
#include "core/options.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "devices/exposure.h"
#include "devices/shutter.h"
#include "platform/system.h"
#include "sequencer/rebuild.h"

namespace {

constexpr uint32_t NormalClass = 32, RealTimeClass = 256;
constexpr int32_t NormalThread = 0, TimeCriticalThread = 15;

// The width stays as it is, odd or even.
void BuildFullFrame(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (record.WindowBuilt == 0) return;
    Select(camera);
    RebuildSequencer(0, 0, record.Ccd.Xpix, record.HorBinning, record.VerBinning, camera);
    record.WindowBuilt = 0;
}

void ReadHeads(int32_t shutter, uint16_t** buffers, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    for (int32_t head = 0; head < HeadCount; ++head) {
        if (!IsHeadFitted(head, camera) || buffers[head] == nullptr) continue;
        SelectHead(head, camera);
        record.Ops.ReadArray(shutter, BinnedSize(record.Ccd.Xpix, record.HorBinning),
                             BinnedSize(record.Ccd.Ypix, record.VerBinning), buffers[head], camera);
    }
}

} // namespace

void AGetCCD(int32_t shutter, const double* exposures, uint16_t** buffers, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (exposures == nullptr || buffers == nullptr) {
        StoreFlag(&record.LastError, ErrorImageBuffer);
        return;
    }
    StopNow(camera);
    BuildFullFrame(camera);
    System.process.SetPriority(RealTimeClass, TimeCriticalThread);
    for (int32_t head = 0; head < HeadCount; ++head) record.HeadExposure[head] = exposures[head];
    if ((LoadFlag(record.Options) & OptionExternalTrigger) != 0 &&
        LoadFlag(record.BreakFlag) == 0) {
        Trigger(1, camera);
    }
    ArrayExposureControl(shutter, camera);
    ReadHeads(shutter, buffers, camera);
    System.process.SetPriority(NormalClass, NormalThread);
    StartNow(camera);
}
