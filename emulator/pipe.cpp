#include "emulator/pipe.h"

#include <algorithm>

#include "emulator/link.h"
#include "emulator/world.h"

namespace {

constexpr size_t PacketBytes = 510; // of 512, with two of the chip's own
constexpr uint64_t Never = UINT64_MAX;

uint64_t ArrivesAt(const EmuPipeChunk& chunk, size_t byte)
{
    return chunk.at + byte * chunk.byteNs / 1000;
}

uint64_t ReadableAt(const EmuPipe& pipe, const EmuPipeChunk& chunk, size_t byte)
{
    const size_t first = byte / PacketBytes * PacketBytes;
    const size_t last = first + PacketBytes - 1;
    const uint64_t flushed =
        std::max(ArrivesAt(chunk, byte), ArrivesAt(chunk, first) + pipe.latency);
    return last < chunk.bytes.size() ? std::min(flushed, ArrivesAt(chunk, last)) : flushed;
}

// Bytes of the chunk, from its first one on, for which `at` has come.
template <typename At> size_t CountUntilNow(const EmuPipeChunk& chunk, At at)
{
    const uint64_t now = EmuNow();
    size_t low = 0, high = chunk.bytes.size();
    while (low < high) {
        const size_t middle = (low + high) / 2;
        if (at(middle) <= now) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

size_t Readable(const EmuPipe& pipe, const EmuPipeChunk& chunk)
{
    return CountUntilNow(chunk, [&](size_t byte) { return ReadableAt(pipe, chunk, byte); });
}

size_t Arrived(const EmuPipeChunk& chunk)
{
    return CountUntilNow(chunk, [&](size_t byte) { return ArrivesAt(chunk, byte); });
}

} // namespace

void EmuPipeSend(EmuPipe* pipe, const uint8_t* bytes, uint32_t count, uint64_t at, uint32_t byteNs)
{
    if (count == 0) return;
    pipe->chunks.push_back({std::vector<uint8_t>(bytes, bytes + count), at, byteNs, 0});
}

void EmuPipeDropArrived(EmuPipe* pipe)
{
    while (!pipe->chunks.empty()) {
        EmuPipeChunk& chunk = pipe->chunks.front();
        chunk.taken = std::max(chunk.taken, Arrived(chunk));
        if (chunk.taken < chunk.bytes.size()) return;
        pipe->chunks.erase(pipe->chunks.begin());
    }
}

void EmuPipeDrop(EmuPipe* pipe)
{
    pipe->chunks.clear();
}

uint32_t EmuPipeHolds(const EmuPipe& pipe)
{
    size_t count = 0;
    for (const EmuPipeChunk& chunk : pipe.chunks) count += chunk.bytes.size() - chunk.taken;
    return static_cast<uint32_t>(count);
}

uint32_t EmuPipeReadable(const EmuPipe& pipe)
{
    size_t count = 0;
    for (const EmuPipeChunk& chunk : pipe.chunks) {
        const size_t readable = Readable(pipe, chunk);
        if (readable > chunk.taken) count += readable - chunk.taken;
        if (readable < chunk.bytes.size()) break;
    }
    return static_cast<uint32_t>(count);
}

uint64_t EmuPipeReadableAt(const EmuPipe& pipe, uint32_t count)
{
    size_t left = count;
    uint64_t at = 0;
    for (const EmuPipeChunk& chunk : pipe.chunks) {
        const size_t held = chunk.bytes.size() - chunk.taken;
        const size_t wanted = std::min(left, held);
        if (wanted > 0) at = std::max(at, ReadableAt(pipe, chunk, chunk.taken + wanted - 1));
        left -= wanted;
        if (left == 0) return at;
    }
    return left == 0 ? at : Never;
}

uint32_t EmuPipeTake(EmuPipe* pipe, uint8_t* bytes, uint32_t room)
{
    const uint32_t count = std::min(room, EmuPipeReadable(*pipe));
    uint32_t done = 0;
    while (done < count) {
        EmuPipeChunk& chunk = pipe->chunks.front();
        const size_t held = chunk.bytes.size() - chunk.taken;
        const auto part = static_cast<uint32_t>(std::min<size_t>(held, count - done));
        std::copy_n(chunk.bytes.data() + chunk.taken, part, bytes + done);
        chunk.taken += part;
        done += part;
        if (chunk.taken == chunk.bytes.size()) pipe->chunks.erase(pipe->chunks.begin());
    }
    return count;
}

void EmuPipeAwait(EmuPipe* (*find)(uint64_t key), uint64_t key, uint32_t count, uint64_t timeoutUs)
{
    const uint64_t end = timeoutUs == 0 ? Never : EmuNow() + timeoutUs;
    while (true) {
        const uint64_t now = EmuNow();
        uint64_t until = end;
        {
            const std::lock_guard<std::mutex> guard(EmuLinkLock());
            const EmuPipe* const pipe = find(key);
            if (pipe == nullptr || now >= end) return;
            until = std::min(until, EmuPipeReadableAt(*pipe, count));
        }
        if (until <= now) return;
        // Whatever happens on the way may change what is on its way.
        until = std::min(until, EmuNextEvent());
        const uint64_t step = until > now ? until - now : 1;
        EmuWait(static_cast<uint32_t>(std::min<uint64_t>(step, UINT32_MAX)));
    }
}
