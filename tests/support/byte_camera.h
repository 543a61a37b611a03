// What the registers of HERON_Plus, OSPREY and OSPREY_Plus get, as text. Numbers of
// registers stand without the flag that HERON_Plus and OSPREY put on them.
#pragma once
#include <string>

#include "tests/support/fake_usb.h"

// The pairs "1C xx" for a word on the serial lines, most significant bit first: each bit
// three times, with the clock (2) the second time, on top of `lines`.
std::string SerialPairs(const std::string& bits, unsigned lines);

// The batch for a code of the converter: its channel and twelve bits; shadows are 0.
std::string DrivePairs(const std::string& bits);

// The batch for a word of the front end; `lines` is the shadow of register 28.
std::string FrontEndPairs(const std::string& bits, unsigned lines = 0);

// The same text with the flag on each register's number.
std::string Flagged(const std::string& pairs);

// A pattern file of one page, whose word n is `first` + n, all sections at its beginning.
std::string OnePagePattern(bool byteWords, uint16_t first);
