#include "acquisition/window.h"

#include "core/record.h"
#include "sequencer/rebuild.h"

int32_t EvenWidth(int32_t width)
{
    return width & ~1;
}

int32_t BinnedSize(int32_t size, int32_t binning)
{
    return binning > 0 ? size / binning : 0;
}

bool IsWindowBuilt(const Window& window, const CameraRecord& record)
{
    return record.WindowBuilt != 0 && record.BuiltWindowX == window.x &&
           record.BuiltWindowY == window.y && record.BuiltWindowWidth == window.width &&
           record.BuiltWindowHeight == window.height &&
           record.BuiltHorBinning == record.HorBinning &&
           record.BuiltVerBinning == record.VerBinning;
}

void BuildWindow(const Window& window, int32_t row, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.WindowBuilt = 1;
    record.BuiltWindowX = window.x;
    record.BuiltWindowY = window.y;
    record.BuiltWindowWidth = window.width; // as given, not made even
    record.BuiltWindowHeight = window.height;
    record.WindowDimX = static_cast<uint16_t>(window.width);
    record.WindowDimY = static_cast<uint16_t>(window.height);
    RebuildSequencer(window.x, row, EvenWidth(window.width), record.HorBinning, record.VerBinning,
                     camera);
    record.BuiltHorBinning = record.HorBinning;
    record.BuiltVerBinning = record.VerBinning;
}

void RestoreFullFrame(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (record.WindowBuilt == 0) return;
    record.WindowBuilt = 0;
    RebuildSequencer(0, 0, EvenWidth(record.Ccd.Xpix), record.HorBinning, record.VerBinning,
                     camera);
}
