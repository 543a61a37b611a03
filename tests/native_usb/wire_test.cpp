// What reaches the chip when a camera of each wire language is opened and spoken to.
#include <algorithm>

#include "tests/native_usb/native_usb.h"

namespace {

// Index 1 is channel A; flow control has it in the low byte, 256 for RTS/CTS above.
const ControlRequest Reset = {ResetRequest, 0, 1};
const ControlRequest EmptyTowardsCamera = {ResetRequest, 1, 1};
const ControlRequest EmptyTowardsHost = {ResetRequest, 2, 1};
const ControlRequest ModeOff = {BitModeRequest, 0x00FF, 1};
const ControlRequest SynchronousFifo = {BitModeRequest, 0x40FF, 1};
const ControlRequest Latency2 = {LatencyRequest, 2, 1};
const ControlRequest RtsCts = {FlowRequest, 0, 0x0101};

// A row of what the cameras are opened with.
struct OpenSettings {
    bool fifo;
    bool latency;
    uint32_t in, out;
    bool flow;
    uint32_t readMs, writeMs;
    bool timeouts;
    bool purge;
    bool reset;
};

uint64_t OpenAs(Chip* chip, const OpenSettings& row)
{
    const uint64_t handle = OpenDevice(0);
    const std::vector<ControlRequest> opening = TakeControls(chip);
    EXPECT_EQ(std::count(opening.begin(), opening.end(), Reset), 1);
    const UsbApi& usb = System.usb;
    uint32_t failures = 0;
    if (row.fifo) failures |= usb.SetBitMode(handle, 255, 0);
    if (row.fifo) failures |= usb.SetBitMode(handle, 255, 64);
    if (row.latency) failures |= usb.SetLatencyTimer(handle, 2);
    failures |= usb.SetTransferSizes(handle, row.in, row.out);
    if (row.flow) failures |= usb.SetFlowControl(handle, 256, 0, 0);
    if (row.timeouts) failures |= usb.SetTimeouts(handle, row.readMs, row.writeMs);
    if (row.purge) failures |= usb.Purge(handle, 3);
    if (row.reset) failures |= usb.ResetDevice(handle);
    EXPECT_EQ(failures, Ok);
    return handle;
}

void ExpectRequests(const OpenSettings& settings, const std::vector<ControlRequest>& expected)
{
    Chip* chip = PlugIn({});
    OpenAs(chip, settings);
    EXPECT_EQ(TakeControls(chip), expected);
}

const OpenSettings CommandCamera = {false, true, 65536, 65536, false,
                                    50000, 1000, true,  true,  false};
const OpenSettings PairCamera = {true, true, 65536, 65536, true, 8000, 0, true, true, false};
const OpenSettings SmallPairCamera = {true, true, 512, 512, true, 8000, 0, true, true, false};
const OpenSettings FlagCamera = {false, true, 65536, 65536, false, 5000, 1000, true, true, false};
const OpenSettings PlainFlagCamera = {false, false, 65536, 0, false, 0, 0, false, false, true};

const std::vector<ControlRequest> PairRequests = {ModeOff, SynchronousFifo,    Latency2,
                                                  RtsCts,  EmptyTowardsCamera, EmptyTowardsHost};

// Answers a register request with the register's number, and a request of pairs
// with a frame.
Bytes FlagAnswer(const Bytes& written)
{
    const bool request = written.size() == 3 && written[0] == 0x80 && written[2] == 0x40;
    return request ? Bytes{written[1]} : Bytes{};
}

Bytes PairAnswer(const Bytes& written)
{
    if (written.size() != 9 || written[0] != 0x84) return {};
    const uint32_t count = written[1] | written[3] << 8 | written[5] << 16;
    return Pattern(count);
}

} // namespace

TEST_F(NativeUsb, CommandCamerasOpenWithLatencyAndPurge)
{
    ExpectRequests(CommandCamera, {Latency2, EmptyTowardsCamera, EmptyTowardsHost});
}

TEST_F(NativeUsb, FlagCamerasOpenAsCommandCamerasDo)
{
    ExpectRequests(FlagCamera, {Latency2, EmptyTowardsCamera, EmptyTowardsHost});
}

TEST_F(NativeUsb, ThePlainFlagCameraOpensWithAResetAlone)
{
    ExpectRequests(PlainFlagCamera, {Reset});
}

TEST_F(NativeUsb, PairCamerasOpenIntoTheSynchronousFifo)
{
    ExpectRequests(PairCamera, PairRequests);
}

TEST_F(NativeUsb, PairCamerasWithSmallTransfersSendTheSameRequests)
{
    ExpectRequests(SmallPairCamera, PairRequests);
}

TEST_F(NativeUsb, TheSecondChannelHasRequestsOfItsOwn)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenDevice(1);
    TakeControls(chip);
    EXPECT_EQ(System.usb.SetFlowControl(handle, 256, 0, 0), Ok);
    EXPECT_EQ(System.usb.SetLatencyTimer(handle, 16), Ok);
    const std::vector<ControlRequest> expected = {{FlowRequest, 0, 0x0102},
                                                  {LatencyRequest, 16, 2}};
    EXPECT_EQ(TakeControls(chip), expected);
}

TEST_F(NativeUsb, ThePortIsResetByAResetAndAPurge)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenDevice(0);
    TakeControls(chip);
    EXPECT_EQ(System.usb.ResetPort(handle), Ok);
    const std::vector<ControlRequest> expected = {Reset, EmptyTowardsCamera, EmptyTowardsHost};
    EXPECT_EQ(TakeControls(chip), expected);
}

TEST_F(NativeUsb, AModeThatTheChipDoesNotHaveFails)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenDevice(0);
    Stall(chip, true);
    EXPECT_EQ(System.usb.SetBitMode(handle, 255, 64), IoError);
    EXPECT_EQ(System.usb.SetLatencyTimer(handle, 2), IoError);
    EXPECT_EQ(System.usb.SetFlowControl(handle, 256, 0, 0), IoError);
    EXPECT_EQ(System.usb.Purge(handle, 3), IoError);
    EXPECT_EQ(System.usb.ResetDevice(handle), IoError);
    EXPECT_EQ(System.usb.ResetPort(handle), IoError);
}

TEST_F(NativeUsb, ACommandGoesOutAsItStandsAndItsReplyComesBack)
{
    ChipSetup setup;
    setup.answer = [](const Bytes&) { return Bytes{4}; };
    Chip* chip = PlugIn(setup);
    const uint64_t handle = OpenAs(chip, CommandCamera);
    WriteBytes(handle, {'D', 1});
    EXPECT_EQ(ReadBytes(handle, 1), (Bytes{4}));
    EXPECT_EQ(TakeWritten(chip), (Bytes{'D', 1}));
}

TEST_F(NativeUsb, AFlaggedRegisterIsReadBack)
{
    ChipSetup setup;
    setup.answer = FlagAnswer;
    Chip* chip = PlugIn(setup);
    const uint64_t handle = OpenAs(chip, FlagCamera);
    WriteBytes(handle, {0x80 | 16, 12});
    WriteBytes(handle, {0x80, 15, 0x40});
    EXPECT_EQ(ReadBytes(handle, 1), (Bytes{15}));
    EXPECT_EQ(TakeWritten(chip), (Bytes{0x90, 12, 0x80, 15, 0x40}));
}

TEST_F(NativeUsb, AFrameOfOneMebibyteCrossesTheFifoWhole)
{
    ChipSetup setup;
    setup.answer = PairAnswer;
    Chip* chip = PlugIn(setup);
    const uint64_t handle = OpenAs(chip, PairCamera);
    // 0x100000 bytes
    WriteBytes(handle, {0x84, 0, 0x85, 0, 0x86, 0x10, 0x87, 0, 40});
    EXPECT_EQ(ReadBytes(handle, 1 << 20), Pattern(1 << 20));
}

TEST_F(NativeUsb, AFrameCrossesInSmallTransfersToo)
{
    ChipSetup setup;
    setup.answer = PairAnswer;
    Chip* chip = PlugIn(setup);
    const uint64_t handle = OpenAs(chip, SmallPairCamera);
    // 0x10000 bytes
    WriteBytes(handle, {0x84, 0, 0x85, 0, 0x86, 1, 0x87, 0, 40});
    EXPECT_EQ(ReadBytes(handle, 1 << 16), Pattern(1 << 16));
}

TEST_F(NativeUsb, AFrameReadLineByLineIsTheSame)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenAs(chip, FlagCamera);
    Send(chip, Pattern(777 * 100));
    Bytes frame;
    for (int line = 0; line < 100; ++line) {
        const Bytes bytes = ReadBytes(handle, 777);
        frame.insert(frame.end(), bytes.begin(), bytes.end());
    }
    EXPECT_EQ(frame, Pattern(777 * 100));
}

TEST_F(NativeUsb, TransfersHaveTheSizesThatWereSet)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenDevice(0);
    EXPECT_EQ(System.usb.SetTransferSizes(handle, 512, 512), Ok);
    WriteBytes(handle, Pattern(1200));
    EXPECT_EQ(TakeWriteSizes(chip), (std::vector<int>{512, 512, 176}));
    Send(chip, {1});
    ReadBytes(handle, 1);
    EXPECT_EQ(TakeReadRooms(chip), (std::vector<int>{512}));
    // 0 leaves a size as it is; a read has room for whole packets.
    EXPECT_EQ(System.usb.SetTransferSizes(handle, 1000, 0), Ok);
    WriteBytes(handle, Pattern(600));
    EXPECT_EQ(TakeWriteSizes(chip), (std::vector<int>{512, 88}));
    Send(chip, {1});
    ReadBytes(handle, 1);
    EXPECT_EQ(TakeReadRooms(chip), (std::vector<int>{1024}));
}
