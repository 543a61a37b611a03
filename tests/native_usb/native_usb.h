// The native USB as the library's drivers call it, with chips that a test plugs in.
#pragma once
#include <gtest/gtest.h>

#include "platform/system.h"
#include "tests/native_usb/scripted_chip.h"

// Statuses of the USB device library.
inline constexpr uint32_t Ok = 0;
inline constexpr uint32_t NoSuchHandle = 1;
inline constexpr uint32_t NoSuchDevice = 2;
inline constexpr uint32_t NotOpened = 3;
inline constexpr uint32_t IoError = 4;
inline constexpr uint32_t NoResources = 5;
inline constexpr uint32_t OtherError = 18;

struct NativeUsb : testing::Test {
    void SetUp() override;
    void TearDown() override; // closes what Open has opened
};

// The number of devices; a list that fails is a failure of the test.
uint32_t ListedDevices();
// Lists, and opens; 0 and a failure of the test if that cannot be done.
uint64_t OpenDevice(int32_t index);
// Reads until all are there or the device's limit is over; as many as came.
Bytes ReadBytes(uint64_t handle, uint32_t count);
void WriteBytes(uint64_t handle, const Bytes& bytes);
// Bytes that do not repeat within a packet or two.
Bytes Pattern(uint32_t count);
