// How the program ends, and what it says when something fails.
#pragma once
#include <cstdint>
#include <string>

enum ExitCode : int {
    ExitDone = 0,
    ExitFailed = 1,
    ExitUsage = 2,
    ExitBroken = 130, // a signal broke the work off
};

// To stderr: "qvn: DOING: REASON", and on a line of its own "Try: ADVICE".
void Complain(const std::string& doing, const std::string& reason, const std::string& advice);

// A line of results to stdout, at once.
void Announce(const std::string& line);

// Whether something that was written to stdout did not arrive.
bool OutputFailed();

// Writes out what stdout still holds. The program's exit code, which tells of a failure
// of that too; says so.
int FinishOutput(int exitCode);

// The text of a status code, of the library or of the supervisor layer, with the number behind
// it.
std::string LibraryText(int32_t code);

// What a person can do about a status code.
std::string LibraryAdvice(int32_t code);
