#include "tests/native_usb/native_usb.h"

namespace {

std::vector<uint64_t> Opened;

} // namespace

void NativeUsb::SetUp()
{
    UseNativeSystem();
}

void NativeUsb::TearDown()
{
    for (const uint64_t handle : Opened) System.usb.Close(handle);
    Opened.clear();
    RemoveChips();
}

uint32_t ListedDevices()
{
    uint32_t count = 0;
    EXPECT_EQ(System.usb.ListDevices(&count), Ok);
    return count;
}

uint64_t OpenDevice(int32_t index)
{
    ListedDevices();
    uint64_t handle = 0;
    EXPECT_EQ(System.usb.Open(index, &handle), Ok);
    if (handle != 0) Opened.push_back(handle);
    return handle;
}

Bytes ReadBytes(uint64_t handle, uint32_t count)
{
    Bytes bytes(count);
    uint32_t got = 0;
    EXPECT_EQ(System.usb.Read(handle, bytes.data(), count, &got), Ok);
    bytes.resize(got);
    return bytes;
}

void WriteBytes(uint64_t handle, const Bytes& bytes)
{
    uint32_t put = 0;
    const uint32_t count = static_cast<uint32_t>(bytes.size());
    EXPECT_EQ(System.usb.Write(handle, bytes.data(), count, &put), Ok);
    EXPECT_EQ(put, count);
}

Bytes Pattern(uint32_t count)
{
    Bytes bytes(count);
    for (uint32_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(i % 251 + i / 4096);
    return bytes;
}
