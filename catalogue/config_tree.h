// A configuration file in memory: groups of named settings, as libconfig reads
// and writes them. The library's own form of its calls: what is missing or of
// another type reads as 0, 0.0 or null, and no value is converted on its way out.
//
// Refused as not parsed: more than ConfigMaxBytes or ConfigMaxSettings, `@include`, a NUL
// byte, an integer beyond 32 bits without an L. A UTF-8 byte order mark is skipped. The host's
// locale neither matters nor changes.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "catalogue/config_scan.h"
#include "catalogue/file_status.h"

inline constexpr size_t ConfigTextRoom = 2;

struct ConfigTree {
    alignas(std::max_align_t) unsigned char memory[192];
};

// A setting or a group in a tree; null stands for one that is not there, and
// may be given to every reading function.
struct ConfigNode;

// Reads the file at `path`, or `bytes` characters of text, which must have room for
// ConfigTextRoom more. The tree is to be closed if the result is 0.
FileStatus OpenConfigTree(const char* path, ConfigTree* tree);
FileStatus ParseConfigTree(char* text, size_t bytes, ConfigTree* tree);
void CloseConfigTree(ConfigTree* tree);

ConfigNode* ConfigRoot(ConfigTree* tree);
// `name` has no `.`, `:` or `/`.
ConfigNode* ConfigMember(ConfigNode* group, const char* name);
// Of an array or a list.
ConfigNode* ConfigElement(ConfigNode* array, int32_t index);

int32_t ConfigInt(ConfigNode* node);      // 0 also for what does not fit
uint32_t ConfigWord(ConfigNode* node);    // 32 bits of an integer; 0 for what is none
double ConfigFloat(ConfigNode* node);     // an integer reads as that number
const char* ConfigText(ConfigNode* node); // valid until the tree is closed

// Whether the node is there and can hold the value without loss. A float goes
// into an integer if it is one, or if all of the array can become floats.
bool ConfigHoldsInt(ConfigNode* node);
bool ConfigHoldsFloat(ConfigNode* node, double value);
bool ConfigHoldsText(ConfigNode* node);

// Store a value that the node was found to hold. SetConfigFloat may replace all
// elements of the array that the node belongs to.
void SetConfigInt(ConfigNode* node, int32_t value);
void SetConfigFloat(ConfigNode* node, double value);
void SetConfigText(ConfigNode* node, const char* text);

// False if the file would not read back: a number in it is infinite, or nearly so.
bool ConfigIsWritable(ConfigTree* tree);
// Puts the tree in place of the file. If that fails the old file stays. Comments
// and layout are lost; floats keep 15 digits.
void WriteConfigTree(const char* path, ConfigTree* tree);
