#include "tests/docs/text.h"

#include <fstream>
#include <sstream>

std::string TreeText(const std::string& path)
{
    std::ifstream file(std::string(QVN_SOURCE_DIR "/") + path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> TreeLines(const std::string& path)
{
    std::istringstream text(TreeText(path));
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(text, line)) lines.push_back(line);
    return lines;
}
