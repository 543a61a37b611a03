// Which tests show that an exported function has its effect.
#pragma once
#include <string>
#include <vector>

struct Proof {
    const char* function;
    const char* folder; // of tests/
    const char* test;   // Suite.Name
};
const std::vector<Proof>& Proofs();

// True if the tests of the folder have this one, and it calls the function, itself or by a
// helper of its source.
bool IsShown(const Proof& proof);
