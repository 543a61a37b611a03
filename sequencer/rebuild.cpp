#include "sequencer/rebuild.h"

#include "core/errors.h"
#include "core/flags.h"
#include "core/record.h"

void RebuildSequencer(int32_t x, int32_t y, int32_t width, int32_t hbin, int32_t vbin,
                      int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    char path[FileNameRoom];
    ComposeLibraryFile(path, "wave.bin");
    record.Ops.BuildWave(path, static_cast<uint32_t>(x), static_cast<uint32_t>(y),
                         static_cast<uint32_t>(width), static_cast<uint32_t>(hbin), vbin,
                         static_cast<uint32_t>(record.WaveOption),
                         static_cast<uint32_t>(record.WaveExtraCount), camera);
    if (LoadFlag(record.LastError) != ErrorNone) return;
    record.HorBinning = hbin;
    record.VerBinning = vbin;
    record.Ops.LoadSequencer(path, camera);
}
