// A camera on USB that is not there: the device library behind System.usb writes down
// every call, and answers what the test has put into `Usb`. What it wrote down:
//
//   usb list 1 | usb open 3 | usb close | usb mode 255 64 | usb latency 2 | ...
//   usb > 44 01        one write, whatever its length
//   usb < 1 of 1       one read: how many bytes came of those asked for
//   sleep 20
//   progress Image downloading 0
//
// with " fails" behind a call that the test makes fail. Looks at the queue are only counted.
// Nothing here knows a wire language.
#pragma once
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using UsbBytes = std::vector<uint8_t>;

struct FakeUsbState {
    std::vector<std::string> log;
    uint32_t devices = 1;

    // Which calls fail: how their line begins, as "open", "mode 255 64", "<" or "queue".
    std::vector<std::string> failing;

    // Bytes that wait to be read. A write puts the answer there whose key begins its text;
    // of several the longest. A list is answered in turn; its last one stays.
    std::deque<uint8_t> queue;
    std::map<std::string, std::deque<UsbBytes>> answers;
    // In place of them, where it is set.
    std::function<UsbBytes(const UsbBytes& written)> answer;

    uint32_t emptyPolls = 0; // looks at the queue that still see nothing
    uint32_t polls = 0;      // looks at the queue
    const char* serial = "";
    const char* description = "";
};
extern FakeUsbState Usb;

// The camera that the tests use: its number is the device's index too.
inline constexpr int32_t UsbCamera = 3;

// Fills its record for platform and sensor and binds its operations: a sensor of 8 by 4, a
// register of 28 cells of which 4 lead, one to four dummy lines by binning, a pixel of 1.5
// microseconds, hardware version 47, patterns at pages 1 to 4, no settling time.
void PrepareFakeUsb(int32_t platform, int32_t sensor, uint32_t options);

// Does what QV_Open does with the driver: opens, and stores the result as status.
int32_t OpenFakeUsb(int32_t attach = 0);

// The answer to every write that begins with `start`, as "44 01".
void AnswerUsb(const std::string& start, const UsbBytes& bytes);

// What was written down since the last call, joined by "; ".
std::string TakeUsbLog();
// The same of the writes alone, without "usb > ".
std::string TakeUsbWrites();

// The writes and sleeps in the language of pairs: a request for bytes as "ask COUNT of REG",
// decimal and hexadecimal.
std::string TakePairLog();

std::string HexBytes(const UsbBytes& bytes); // "44 01"

class FakeUsbTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};
