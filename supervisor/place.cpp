#include "supervisor/place.h"

#include "supervisor/duration.h"

bool MayBin(const Slot& slot, int32_t hbin, int32_t vbin)
{
    return slot.ccd.Xpix / hbin >= 2 && slot.ccd.Ypix / vbin >= 1;
}

bool LiesOnSensor(const Slot& slot, const QvnsExposure& exposure)
{
    const Geometry wanted = WantedGeometry(slot, exposure);
    const int32_t columns = slot.ccd.Xpix / wanted.hbin, rows = slot.ccd.Ypix / wanted.vbin;
    if (!wanted.isWindow) {
        return exposure.X == 0 && exposure.Y == 0 && MayBin(slot, wanted.hbin, wanted.vbin);
    }
    return wanted.x >= 0 && wanted.y >= 0 && wanted.width >= 2 && wanted.height >= 1 &&
           wanted.width <= columns - wanted.x && wanted.height <= rows - wanted.y;
}

bool HasRoom(Frame* frame, uint64_t pixels)
{
    if (frame->room >= pixels) return true;
    auto* const larger = static_cast<uint16_t*>(Seam.Allocate(pixels * sizeof(uint16_t)));
    if (larger == nullptr) return false;
    Seam.Release(frame->pixels);
    frame->pixels = larger;
    frame->room = pixels;
    return true;
}

int32_t PlaceFrame(Slot* slot)
{
    Frame& frame = slot->frame;
    if (!LiesOnSensor(*slot, frame.request)) return QVNS_ERROR_ARGUMENT;
    frame.geometry = WantedGeometry(*slot, frame.request);
    const bool fits = HasRoom(&frame, BufferPixels(*slot, frame.geometry));
    return fits ? QV_ERROR_NONE : QVNS_ERROR_NO_MEMORY;
}
