#include "tests/docs/blocks.h"

#include <regex>

namespace {

bool IsBlank(const std::string& line)
{
    return line.find_first_not_of(" \t") == std::string::npos;
}

// Behind a list's item a line with eight spaces is code, and one with four may be its text.
size_t Indentation(const std::vector<std::string>& page, size_t at)
{
    for (size_t i = at; i-- > 0;) {
        if (IsBlank(page[i])) continue;
        if (std::regex_search(page[i], std::regex("^(- |[0-9]+\\. |   )"))) return 8;
        return 4;
    }
    return 4;
}

bool IsIndented(const std::string& line, size_t spaces)
{
    return line.size() > spaces && line.find_first_not_of(' ') >= spaces && !IsBlank(line);
}

void ReadMark(const std::vector<std::string>& page, size_t at, CodeBlock* block)
{
    size_t i = at;
    while (i > 0 && IsBlank(page[i - 1])) --i;
    if (i == 0) return;
    std::smatch found;
    const std::regex mark(" *<!-- (run(: (.+))?|not run: (.+)) -->");
    block->marked = std::regex_match(page[i - 1], found, mark);
    if (!block->marked) return;
    block->ahead = found[3];
    block->why = found[4];
}

size_t ReadFence(const std::vector<std::string>& page, size_t at, CodeBlock* block)
{
    const size_t fence = page[at].find("```");
    block->language = page[at].substr(fence + 3);
    size_t i = at + 1;
    while (i < page.size() && page[i].compare(0, fence + 3, page[at], 0, fence + 3) != 0) {
        block->text += page[i++] + "\n";
    }
    return i + 1;
}

size_t ReadIndented(const std::vector<std::string>& page, size_t at, size_t spaces,
                    CodeBlock* block)
{
    block->language = "sh";
    size_t end = at;
    for (size_t i = at; i < page.size() && (IsBlank(page[i]) || IsIndented(page[i], spaces)); ++i) {
        if (!IsBlank(page[i])) end = i + 1;
    }
    for (size_t i = at; i < end; ++i) {
        block->text += (page[i].size() > spaces ? page[i].substr(spaces) : "") + "\n";
    }
    return end;
}

} // namespace

std::vector<CodeBlock> CodeBlocks(const std::vector<std::string>& page)
{
    std::vector<CodeBlock> blocks;
    size_t i = 0;
    while (i < page.size()) {
        CodeBlock block = {static_cast<int>(i) + 1, "", "", "", "", false};
        const size_t start = i;
        const bool fenced = std::regex_search(page[i], std::regex("^ *```"));
        const bool fresh = i == 0 || IsBlank(page[i - 1]);
        const size_t spaces = fresh ? Indentation(page, i) : 4;
        if (fenced) {
            i = ReadFence(page, i, &block);
        } else if (fresh && IsIndented(page[i], spaces)) {
            i = ReadIndented(page, i, spaces, &block);
        } else {
            ++i;
            continue;
        }
        ReadMark(page, start, &block);
        blocks.push_back(block);
    }
    return blocks;
}
