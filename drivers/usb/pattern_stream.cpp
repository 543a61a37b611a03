// The pattern of a camera that takes it in one transfer.
#include "drivers/usb/pattern_stream.h"

#include <cstddef>

#include "core/record.h"
#include "platform/system.h"

namespace {

struct PatternStream {
    const StreamFormat* format;
    uint8_t* bytes;
    uint32_t filled, room;
};
PatternStream Streams[CameraCount];

} // namespace

bool ReserveStream(const StreamFormat& format, uint32_t words, int32_t camera)
{
    const uint32_t room = words * format.wordBytes;
    auto* bytes = static_cast<uint8_t*>(System.memory.Allocate(room));
    if (bytes == nullptr) return false;
    Streams[camera] = {&format, bytes, 0, room};
    return true;
}

void PutIntoStream(uint32_t address, const uint16_t* words, uint32_t count, int32_t camera)
{
    PatternStream& stream = Streams[camera];
    const StreamFormat& format = *stream.format;
    for (uint32_t i = 0; i < count; ++i) {
        format.encode(address + i, words[i], stream.bytes + stream.filled);
        stream.filled += format.wordBytes;
    }
    if (stream.filled == stream.room) format.send(stream.bytes, stream.filled, camera);
}

void ReleaseStream(int32_t camera)
{
    System.memory.Release(Streams[camera].bytes);
    Streams[camera] = {};
}
