// The pattern file as the library leaves it, and what it tells: how long its sections are.
#pragma once
#include "supervisor/slot.h"

// The folder of the library's files, as QV_SetPathName takes it; false: too long.
bool SetFolder(const char* path);

// Platforms that are told a geometry, or clock themselves, have no pattern file.
bool HasPattern(const Slot& slot);

// Reads the file that the library has just written; with the shared lock, and without the other.
// read, or is no pattern, is not known.
Pattern ReadPattern(const Slot& slot);

// FNV-1a, 64 bits.
inline constexpr uint64_t HashStart = 0xCBF29CE484222325ull;
uint64_t Hash(uint64_t hash, const void* bytes, size_t count);
uint64_t HashDefinitions(const CcdDefinition& ccd, const PlatformDefinition& platform);
