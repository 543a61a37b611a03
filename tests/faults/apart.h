// Runs in a process of their own: one that waits for good, or breaks, ends no test.
#pragma once
#include <functional>
#include <string>

enum class Ending {
    Good,
    Hung,  // it passed the virtual time limit
    Broken // it found something wrong, or crashed
};

// How `body` ended, which returns whether all was well; what it printed goes to `said`.
Ending RunApart(const std::function<bool()>& body, std::string* said);

// Zeroed memory that such runs write to as well; for the life of the process.
void* ShareMemory(size_t bytes);
