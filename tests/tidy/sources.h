// The sources as text: which files there are, and what a check needs of one.
#pragma once
#include <string>
#include <vector>

struct SourceFile {
    std::string path; // below the repository's root, with '/'
    std::string text;
    std::string code; // the text with comments, strings and directives blanked, lines kept
};

struct Function {
    std::string name;
    int firstLine, lastLine;
};

// `path` decides how the text is read: only C and C++ have code.
SourceFile MakeSource(const std::string& path, const std::string& text);

// The text files of the repository, sorted by path. Built and fetched files are
// not among them.
std::vector<SourceFile> AllSources();

bool IsCode(const std::string& path);          // C and C++
bool IsHeader(const std::string& path);        // C and C++
std::string FolderOf(const std::string& path); // the first part; empty at the root
bool IsLibraryFolder(const std::string& folder);

// Function bodies by their braces: members, tests and plain functions, each from
// its parameters to its last brace. What is nested in a body counts as the body's.
std::vector<Function> FunctionsOf(const SourceFile& file);

std::vector<std::string> Lines(const std::string& text);

// Offsets of `word` in `text` where it is not part of a longer identifier.
std::vector<size_t> FindWord(const std::string& text, const std::string& word);
int LineAt(const std::string& text, size_t offset); // from 1
