#include "tests/exports/listing.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

std::string SourceText(const std::string& path)
{
    std::ifstream file(std::string(QVN_SOURCE_DIR "/") + path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string Squeezed(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        const bool blank = c == ' ' || c == '\n' || c == '\t' || c == '\r';
        if (!blank) out += c;
        if (blank && !out.empty() && out.back() != ' ') out += ' ';
    }
    while (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
}

std::string OutputOf(const std::string& command)
{
    FILE* pipe = popen(command.c_str(), "r");
    EXPECT_NE(pipe, nullptr) << command;
    if (pipe == nullptr) return "";
    std::string text;
    char part[4096];
    while (fgets(part, sizeof part, pipe) != nullptr) text += part;
    EXPECT_EQ(pclose(pipe), 0) << command;
    return text;
}

namespace {

Signature Parse(const std::string& line)
{
    Signature signature;
    signature.text = line;
    const size_t open = line.find('(');
    const size_t name = line.find_last_of(" *", open) + 1;
    signature.name = line.substr(name, open - name);
    const std::string inside = line.substr(open + 1, line.rfind(')') - open - 1);
    std::istringstream parts(inside);
    for (std::string part; std::getline(parts, part, ',');) {
        if (part != "void") signature.parameters.push_back(Squeezed(part));
    }
    for (std::string& part : signature.parameters) {
        part.erase(0, part.find_first_not_of(' '));
    }
    return signature;
}

} // namespace

const std::vector<Signature>& ListedSignatures()
{
    static const std::vector<Signature> signatures = [] {
        std::vector<Signature> list;
        std::istringstream lines(SourceText("tests/data/exports.txt"));
        for (std::string line; std::getline(lines, line);) {
            if (line.empty()) continue;
            if (line.back() == ';') line.pop_back();
            list.push_back(Parse(line));
        }
        return list;
    }();
    return signatures;
}

const Signature* FindSignature(const std::string& name)
{
    for (const Signature& signature : ListedSignatures()) {
        if (signature.name == name) return &signature;
    }
    return nullptr;
}
