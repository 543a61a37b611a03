// One call after another fails, once or from there on, while a camera is opened and read:
// the code is one of those that a host knows, it comes in time, nothing is left behind, and
// the camera works again when the fault is over.
//
// Most runs take a sample of the calls. QVN_ALL_FAULTS=1 takes every one, in processes of
// their own, and prints what came out. The words of a pattern go out one like the other:
// QVN_ALL_FAULTS=3/7 takes of those calls the third, the tenth and so on, and all others.
#pragma once
#include <cstdint>
#include <vector>

#include "tests/faults/session.h"

enum class Phase {
    Open, // the pattern is built and loaded in it
    Load, // a pattern of one page is loaded once more, so that each call of it can fail
    Frame
};

using Codes = std::vector<int32_t>;

struct Fault {
    EmuCall call;
    Phase phase;
    bool lasts;
    uint32_t at = 0; // counted from the beginning of the phase, the first is 1
};

// Calls behind `from`, up to `to`.
struct Stretch {
    uint32_t from, to;
};

struct Tally;

class FaultSweep : public Session {
protected:
    // The calls of a kind fail in turn, as `fault` says but for its `at`. How many there
    // are when none fails. All codes of the phase are among `codes`.
    uint32_t ForEveryCall(Fault fault, const Codes& codes);

private:
    Tally* tally = nullptr;
    Stretch load = {}; // of the phase that was counted last

    uint32_t CountCalls(EmuCall call, Phase phase);
    std::vector<uint32_t> Points(const Fault& fault, uint32_t calls) const;
    void RunOnWithFaults(Fault fault, const std::vector<uint32_t>& points, const Codes& codes);
    void RunApartWithFaults(Fault fault, const std::vector<uint32_t>& points, const Codes& codes);
    void RunWithFault(const Fault& fault, const Codes& codes);
    void ReadUnderFault(const Fault& fault, const Codes& codes);
    void LoadUnderFault(const Fault& fault);
};
