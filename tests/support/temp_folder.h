// Where a test puts its files: tests run beside each other, each in a process of its own.
#pragma once
#include <string>

// A folder of this process alone, with a slash at the end of its name. It goes with the process.
const std::string& TempFolder();
