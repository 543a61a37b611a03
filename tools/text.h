// Small pieces of text: printf into a string, JSON, lists of numbers in arguments.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

std::string Text(const char* format, ...) __attribute__((format(printf, 1, 2)));

// `text` in quotes, as JSON wants it.
std::string JsonText(const std::string& text);

// A finite number as JSON wants it, else "null".
std::string JsonNumber(double value);

// Exactly `count` integers of 32 bits with commas between; decimal, or hexadecimal
// behind 0x. False when `text` is anything else, `values` is then untouched.
bool ParseIntegers(const std::string& text, size_t count, std::vector<int32_t>* values);

// One number of 32 bits without a sign, as above. False: `bits` is untouched.
bool ParseBits(const std::string& text, uint32_t* bits);

// Numbers from 0 to `highest` and ranges of them, such as "0,3,10-15". False as above.
bool ParseNumbers(const std::string& text, int32_t highest, std::vector<int32_t>* numbers);

// Case does not count.
bool SameWord(const std::string& one, const std::string& other);
