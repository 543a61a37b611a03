// What of the sensor is read, and how; and what a frame's file tells of it.
#pragma once
#include <cstddef>
#include <cstdint>

#include "tools/frame.h"
#include "tools/session.h"

struct WindowRequest {
    bool set = false;
    int32_t x = 0, y = 0, width = 0, height = 0; // binned pixels
};

struct PictureRequest {
    WindowRequest window;
    int32_t horBinning = 1, verBinning = 1;
    int32_t gain = 0;
};

struct FrameGeometry {
    int32_t width = 0, height = 0; // as delivered
    size_t room = 0;               // pixels that the library may write
};

// Set binning and gain, and find what will be delivered. Say why if they return false.
bool PreparePicture(const Session& session, const PictureRequest& request, FrameGeometry* geometry);

// Room for the pixels; complains if there is none.
bool MakeRoom(size_t pixels, FrameRecord* frame);

// Seconds that a readout should take.
double ReadoutSeconds(const Session& session, const PictureRequest& request);

// What a frame's file tells of the camera's kind; the start is now.
void NoteInstrument(const Session& session, FrameRecord* frame);

// The same, and how the camera is at this moment.
void NoteCamera(const Session& session, const PictureRequest& request, FrameRecord* frame);

// The same of a frame that the layer took, at its start and its end.
void NoteMetadata(const Session& session, const QvnsMetadata& metadata, FrameRecord* frame);
