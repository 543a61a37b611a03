// Commands and files as the tests of the installation use them.
#pragma once
#include <string>
#include <vector>

struct ShellResult {
    int exitCode = -1;
    std::string out; // stdout and stderr
};

ShellResult RunShell(const std::string& command);

// A whole file; a test failure and "" if it cannot be read.
std::string FileText(const std::string& path);

std::vector<std::string> LinesOf(const std::string& text);
