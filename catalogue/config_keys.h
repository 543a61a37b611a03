// Tables of the keys of a file and where their values live in a record. One
// loop loads and one saves them all.
#pragma once
#include <cstddef>
#include <cstdint>

#include "catalogue/file_status.h"

enum KeyKind : uint8_t {
    KeySigned16,   // the low 16 bits of an integer; written with their sign
    KeyUnsigned16, // the same, written without a sign
    KeyLowByte,    // one byte of a field of 16 bits
    KeyHighByte,
    KeyInt32,
    KeyFloat, // double
    KeyText,  // KeyTextRoom characters; emptied by a save, in file and record
};

inline constexpr size_t KeyTextRoom = 80;
inline constexpr int32_t NoElement = -1;

struct ConfigKey {
    const char* name; // null ends a table
    int32_t element;  // of the array of this name
    KeyKind kind;
    size_t offset; // in the record, bytes
    bool ofPair;   // stands in the group of the pair
};

// Where in the file the keys stand: in the group at `path`, and some of them one
// group deeper. Null behind the last name.
struct KeyPlace {
    const char* path[4];
    const char* pair;
};

// A load leaves the record alone unless it returns FileDone, and so does a save
// with the file. A save that passed its checks returns FileDone even if the file
// could not be written; it then is as it was.
FileStatus LoadKeys(const char* file, const KeyPlace& place, const ConfigKey* keys, void* record);
FileStatus SaveKeys(const char* file, const KeyPlace& place, const ConfigKey* keys, void* record);
