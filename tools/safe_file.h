// Output files appear whole or not at all: they grow beside their place under
// another name and are then renamed.
#pragma once
#include <string>

// Whether `path` could become an output now: its folder exists and can be written,
// the name is not too long, nothing is there but perhaps files that may be replaced. Else `error`
// says what is wrong and `advice` what to try.
bool OutputIsPossible(const std::string& path, bool overwrite, std::string* error,
                      std::string* advice);

// The folder of `path` without links and detours. A file's own name has none: what is a
// link there is replaced, not followed.
std::string WholeFolder(const std::string& path);

// Whether two outputs would be one file.
bool SameOutput(const std::string& one, const std::string& other);

// The name under which the file grows. It is the same for every program, so that two
// with one output do not mix, and is found again after a power failure.
std::string PartName(const std::string& path);

// Claims that name by an empty file and returns it; one that is there already is in the
// way, unless it may be replaced. Empty with `error`: it could not be had.
std::string BeginFile(const std::string& path, bool overwrite, std::string* error);

// Puts the grown file on disk and in its place. False with `error`: it stays where it
// grew, and the text says so.
bool CommitFile(const std::string& path, bool overwrite, std::string* error);

void DiscardFile(const std::string& path);

// Begin, write and commit in one.
bool WriteWholeFile(const std::string& path, const void* data, size_t bytes, bool overwrite,
                    std::string* error);
