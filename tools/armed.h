// A frame in steps: the camera is armed, started by the program or by its external input, and
// the frame is picked up from the interface card's memory when it must be there.
#pragma once
#include <cstdint>
#include <memory>

#include "tools/picture.h"

struct ArmedRequest {
    bool wanted = false;
    bool external = false; // by the camera's input
    double pickup = -1.0;  // seconds from the end of the exposure; below 0: reckoned
};

// Readies the camera, and finds what will be delivered: the whole sensor. Complains if this
// camera cannot take this picture so.
bool PrepareArmed(const Session& session, const PictureRequest& picture, FrameGeometry* geometry);

// What the library answers, or below 0 why there is no answer. With `missing` of the frame it was
// broken off and has no pixels. An external start is waited for without limit, and only a third
// signal ends that.
int32_t TakeArmed(const Session& session, const ArmedRequest& request, double seconds,
                  const std::shared_ptr<FrameRecord>& frame);
