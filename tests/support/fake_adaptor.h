// The interface adaptor's library, which System.library finds, and a device behind it that
// writes down every call, among the sleeps and reports of a fake USB pipe:
//
//   adaptor load | adaptor free | adaptor init | adaptor open | adaptor close
//   adaptor mode 8 | adaptor timeout 65535 | adaptor eeprom at 81
//   adaptor eeprom 3 = 5A | adaptor eeprom 3 ?
//   adaptor > 00 BF        one transfer; items of two digits in mode 8, else of four
//   adaptor < 1            one transfer of so many items
#pragma once
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/fake_usb.h"

using AdaptorItems = std::vector<uint16_t>;

struct FakeAdaptorState {
    bool libraryMissing = false;
    std::set<std::string> missingEntries;
    uint32_t initResult = 0x101;
    uint32_t mode = 0;
    int32_t loads = 0; // not yet freed
    std::string path;  // last loaded

    // What AdaptorIn gets: a transfer out puts the answer there whose key ends its text, in
    // turn; the last one of a list stays. Items that nobody sent leave their place alone.
    std::deque<uint16_t> queue;
    std::map<std::string, std::deque<AdaptorItems>> answers;
    std::map<uint32_t, uint8_t> memory; // bytes; 0 where nothing stands
};
extern FakeAdaptorState Adaptor;

// The answer to every transfer that ends with `end`, as "00 BF".
void AnswerAdaptor(const std::string& end, const AdaptorItems& items);

// The transfers out since the last call, without "adaptor > ", joined by "; ".
std::string TakeAdaptorWrites();

class FakeAdaptorTest : public FakeUsbTest {
protected:
    void SetUp() override;
    void TearDown() override;
};
