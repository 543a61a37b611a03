// A buffer for pixels with words on both sides that nobody may touch.
#pragma once
#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

inline constexpr uint16_t UntouchedPixel = 0xAAAA;

struct GuardedPixels {
    static constexpr size_t Words = 64;
    static constexpr uint16_t Guard = 0xBEEF;
    std::vector<uint16_t> words;

    explicit GuardedPixels(size_t count) : words(count + 2 * Words, Guard)
    {
        std::fill(words.begin() + Words, words.end() - Words, UntouchedPixel);
    }
    uint16_t* Data() { return words.data() + Words; }
    std::vector<uint16_t> Pixels() const { return {words.begin() + Words, words.end() - Words}; }
    bool IsUntouched() const
    {
        return std::count(words.begin(), words.end(), UntouchedPixel) ==
               static_cast<std::ptrdiff_t>(words.size() - 2 * Words);
    }
    void ExpectGuards() const
    {
        EXPECT_EQ(std::count(words.begin(), words.begin() + Words, Guard), Words);
        EXPECT_EQ(std::count(words.end() - Words, words.end(), Guard), Words);
    }
};
