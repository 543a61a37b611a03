// The names of the files of a series of frames.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

// Whether `pattern` may name files: behind the last slash at most one %d, %4d or %04d, no
// other %. A folder's name may hold what it likes.
bool PatternIsPlain(const std::string& pattern);

// The counter's place is filled with `number`. Without a place, a series of more than
// one gets "_0001" ahead of the ending; a single frame gets the name as it stands.
std::string OutputName(const std::string& pattern, int32_t number, size_t count);
