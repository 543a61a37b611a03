// HERON_Plus and OSPREY have no memory of their own: what others keep there stands in the
// strings of the USB device.
#pragma once
#include <cstdint>

// Memory word 4, 5 or 6 as two digits of the description, from `place` on and two
// characters further each; a year counts from 2000. Other words are 0.
uint16_t DescriptionWord(int32_t word, uint32_t place, int32_t camera);
// The number at the beginning of the serial string, of which `length` characters count.
int32_t SerialOfString(uint32_t length, int32_t camera);
