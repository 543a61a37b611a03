// Output files appear whole or not at all: they grow beside their place under
// another name and are then renamed.
#pragma once
#include <string>

// Whether `path` could become an output now: its folder exists and can be written,
// nothing is there but perhaps a plain file that may be replaced. Else `error` says
// what is wrong and `advice` what to try.
bool OutputIsPossible(const std::string& path, bool overwrite, std::string* error,
                      std::string* advice);

// Where the file grows. An old one of this name is removed.
std::string BeginFile(const std::string& path);

// Puts the grown file on disk and in its place. False with `error`: it was removed.
bool CommitFile(const std::string& path, bool overwrite, std::string* error);

void DiscardFile(const std::string& path);

// Begin, write and commit in one.
bool WriteWholeFile(const std::string& path, const void* data, size_t bytes, bool overwrite,
                    std::string* error);
