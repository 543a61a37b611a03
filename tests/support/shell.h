// Commands and files, as tests use them that look at the programs from outside.
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
