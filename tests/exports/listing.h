// The interface as text: the plain list of signatures, and files of the tree.
#pragma once
#include <string>
#include <vector>

// A whole file of the source folder; a test failure and "" if it cannot be read.
std::string SourceText(const std::string& path);

// One exported function, from tests/data/exports.txt.
struct Signature {
    std::string text; // as listed, without the semicolon
    std::string name;
    std::vector<std::string> parameters; // "int32_t camera", ...; none for (void)
};

const std::vector<Signature>& ListedSignatures();
const Signature* FindSignature(const std::string& name);

// What a program writes to its standard output.
std::string OutputOf(const std::string& command);

// Runs of white space become one blank; none at the ends.
std::string Squeezed(const std::string& text);
