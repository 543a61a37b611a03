// A FIFO chip on a USB that does not exist, with a script for a camera behind it:
// usbfs as libusb meets it, request by request. Chips run on a thread of their own.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

// A control request that came from the host.
struct ControlRequest {
    int request, value, index;
    bool operator==(const ControlRequest&) const = default;
};

void PrintTo(const ControlRequest& control, std::ostream* stream);

// Numbers of the requests.
enum ControlNumber {
    ResetRequest = 0,
    FlowRequest = 2,
    BaudRequest = 3,
    LatencyRequest = 9,
    BitModeRequest = 11
};

// What the camera sends back for what one transfer brought.
using Answer = std::function<Bytes(const Bytes& written)>;

struct ChipSetup {
    int bus = 1;
    int address = 2;
    int version = 0x0700; // of a chip with two channels of high speed
    int interfaces = 2;
    int packet = 512;
    std::string serial = "OS123456"; // empty: the chip has none
    std::string description = "QVN camera";
    Answer answer;
};

// The testbed: true where the process runs under it. Once, before the first chip.
bool StartTestbed();

struct Chip;
Chip* PlugIn(const ChipSetup& setup);
void PullOut(Chip* chip); // it stays valid, and answers nothing any more
void RemoveChips();       // all of them, for good

// The requests since the last call, those of USB itself left out.
std::vector<ControlRequest> TakeControls(Chip* chip);
// The lengths of the transfers since the last call, and what the writes brought.
std::vector<int> TakeReadRooms(Chip* chip);
std::vector<int> TakeWriteSizes(Chip* chip);
Bytes TakeWritten(Chip* chip);

void Send(Chip* chip, const Bytes& bytes);      // towards the host
void Mute(Chip* chip, bool mute);               // it answers nothing at all
void Stall(Chip* chip, bool stall);             // it refuses every request of its own kind
void PullOutBehind(Chip* chip, uint32_t bytes); // once the host has so many of them
