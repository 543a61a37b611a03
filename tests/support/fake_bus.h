// A bus camera without a cable: the link's slots and the card's registers write down
// what is done to them, and answer what the test has put into `Bus`. The card's DMA
// moves `stream`.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/eeprom_chip.h"

struct FakeBusState {
    std::vector<std::string> log;
    std::vector<uint16_t> words; // what ReadData answers; the last one stays
    size_t nextWord = 0;
    size_t readyWords = SIZE_MAX;  // answers of WaitReady until it fails
    uint16_t version = 0;          // of status 15
    uint16_t status7 = 0;          // but for the EEPROM's bit 0
    uint32_t control = 0;          // the card's control register
    uint32_t revision = 0;         // the card's
    std::vector<uint16_t> stream;  // what the DMA moves
    uint32_t dmaLeft = 0;          // words of 32 bits
    uint32_t dmaStep = UINT32_MAX; // moved with each look at the count
    uint32_t dmaStall = 0;         // what the count stops at
    EepromChip chip = EepromChip(SharedChip);
};
extern FakeBusState Bus;

// Fills record 0 for platform and sensor, binds its operations and puts the
// recording link over them: a sensor of 8 by 4, a register of 28 cells, one to
// four dummy lines by binning, patterns at pages 1 to 4, no settling time.
void OpenFakeBus(int32_t platform, int32_t sensor, uint32_t options, int32_t interfaceType);

// Puts the recording card behind the record, with `words` words of DMA buffer.
void PlugFakeCard(size_t words);

// What was written down since the last call, joined by "; ".
std::string TakeBusLog();

// The bits that `data` has at each rising edge of `clock`, of all writes to `reg`.
std::string ClockedBits(int32_t reg, uint16_t clock, uint16_t data);

class FakeBusTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};
