#include "tests/support/shell.h"

#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

ShellResult RunShell(const std::string& command)
{
    ShellResult result;
    FILE* pipe = popen(("{ " + command + "\n} 2>&1").c_str(), "r");
    if (pipe == nullptr) return result;
    char part[4096];
    while (fgets(part, sizeof part, pipe) != nullptr) result.out += part;
    const int status = pclose(pipe);
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    return result;
}

std::string FileText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}
