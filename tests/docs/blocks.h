// The code blocks of a page: fenced ones, and those indented by four spaces.
//
// A comment ahead of a block says what becomes of it: <!-- run -->, <!-- run: CODE -->, where the
// code is put ahead of the block's, or <!-- not run: why -->. Without one, fenced blocks of a
// known language are run.
#pragma once
#include <string>
#include <vector>

struct CodeBlock {
    int line;             // its first, from 1
    std::string language; // of the fence; "sh" of an indented one
    std::string text;
    std::string ahead;
    std::string why; // it is not run; empty: it is
    bool marked;     // a comment says one or the other
};

std::vector<CodeBlock> CodeBlocks(const std::vector<std::string>& page);
