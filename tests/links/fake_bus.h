// An interface card, a camera on its bus and a set of ports that write down every
// access and answer as told. What they wrote down is one text, an access a word:
//
//   data=8005 control=5504    card registers, hexadecimal
//   control? data?            the same, read
//   us=10 pause=10 ms=100     sleeps: kernel driver, system, milliseconds
//   out:378=05 wout:300=FFE1  ports: byte, word
//   in:379 win:300
//   open version scan=11E3.07D1 info=1.2.3 register debug lock=1.1024 unlock=1 close
#pragma once
#include <cstdint>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

#include "core/record.h"
#include "links/card.h"
#include "platform/card_records.h"

inline constexpr int32_t Camera = 3;
inline constexpr uint64_t Window = 0xE0000000;

struct FakeBus {
    std::vector<std::string> log;
    std::map<std::string, uint64_t> counts; // of each word of the log
    bool isQuiet = false;                   // counts only

    // The card. A read gives what waits in `replies`; then of the control register
    // what was written last with the status bits of `status`, of the others what
    // stands in `values`.
    uint32_t control = 0x1502;
    std::function<uint32_t()> status = [] { return 0x4000u; };
    std::map<uint32_t, std::deque<uint32_t>> replies;
    std::map<uint32_t, uint32_t> values;

    // The ports.
    std::map<uint16_t, std::deque<uint16_t>> portReplies;
    std::map<uint16_t, uint16_t> portValues;
    bool portsGranted = true;
    std::string acquired;

    // The kernel driver.
    bool driverOpens = true;
    bool driverAnswers = true;
    bool driverSleeps = true;
    uint32_t cards = 1;
    uint32_t cardHandle = 9;
    std::vector<WD_ITEM> items;
    uint32_t lockable = 3; // the options of WD_DMALock that succeed, as bits 1 and 4
    std::vector<WD_DMA_PAGE> pages = {{0x400000, 4096}}; // of a lock
    uint32_t pagesTold = 0;                              // 0: as many as there are
    bool hasAddress = true;                              // of the driver's own memory
    std::vector<WD_DEBUG_ADD> debugLines;
    WD_DMA lastLock = {};
    uint32_t lastLockBytes = 0, lastUnlockBytes = 0;
    uint64_t openHandles = 0;
    std::vector<uint16_t> kernelBuffer;
};

extern FakeBus Fake;

// All accesses since the last call, joined by spaces.
std::string Accesses();

// Every test has the fake behind `System` and a fresh record, on whose bus a card is
// mapped. The operations are the library's defaults.
class LinkTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    CameraRecord& record = CameraTable[Camera];
};

// `sequence` with every `n{...}` made n copies of what is inside.
std::string Text(const std::string& sequence);
