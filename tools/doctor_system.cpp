// The system's files, as the checks of qvn doctor read them.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "tools/doctor.h"

std::string FirstLine(const std::string& path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

std::string WordBehind(const std::string& path, const std::string& key)
{
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (line.rfind(key, 0) != 0) continue;
        const size_t begin = line.find_first_not_of(" \t", key.size());
        if (begin == std::string::npos) return "";
        return line.substr(begin, line.find_first_of(" \t", begin) - begin);
    }
    return "";
}

std::string LinkName(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::read_symlink(path, ignored).filename().string();
}

std::vector<std::string> NamesIn(const std::string& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        names.push_back(entry->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string WhyNotUsable(const std::string& path)
{
    return access(path.c_str(), R_OK | W_OK) == 0 ? "" : std::strerror(errno);
}

bool HasCapability(const Patient& patient, uint32_t number)
{
    const std::string mask = WordBehind(patient.root + "/proc/self/status", "CapEff:");
    return (std::strtoull(mask.c_str(), nullptr, 16) >> number & 1) != 0;
}
