// What a device has sent and its host has not taken: bytes with the times at which they
// arrive. They come in packets of 510; a packet that does not fill is handed over when the
// latency has passed since its first byte.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

// What a call of the host costs, and the bytes that it moves.
inline constexpr uint64_t EmuTransferUs = 125; // a microframe
inline constexpr uint64_t EmuBytesPerUs = 40;

struct EmuPipeChunk {
    std::vector<uint8_t> bytes;
    uint64_t at;     // microseconds
    uint32_t byteNs; // from one to the next; 0: all come at once
    size_t taken;
};

struct EmuPipe {
    std::vector<EmuPipeChunk> chunks;
    uint64_t latency; // microseconds
};

// Bytes arrive from `at` microseconds on, one each `byteNs`.
void EmuPipeSend(EmuPipe* pipe, const uint8_t* bytes, uint32_t count, uint64_t at, uint32_t byteNs);
void EmuPipeDropArrived(EmuPipe* pipe); // what comes later still comes
void EmuPipeDrop(EmuPipe* pipe);
uint32_t EmuPipeHolds(const EmuPipe& pipe);    // arrived or not
uint32_t EmuPipeReadable(const EmuPipe& pipe); // now
// When `count` bytes can be read; UINT64_MAX if so many have not been sent.
uint64_t EmuPipeReadableAt(const EmuPipe& pipe, uint32_t count);
// Takes what can be read, up to `room` bytes; how many.
uint32_t EmuPipeTake(EmuPipe* pipe, uint8_t* bytes, uint32_t room);

// Lets time pass until `count` bytes can be read, the time is over (0: there is no end),
// or `find` does not find the pipe any more. The caller does not hold the links' lock.
void EmuPipeAwait(EmuPipe* (*find)(uint64_t key), uint64_t key, uint32_t count, uint64_t timeoutUs);
