// The pages of the tree as text.
#pragma once
#include <string>
#include <vector>

// Of a file of the tree, by its path from the root; empty if it cannot be read.
std::string TreeText(const std::string& path);
std::vector<std::string> TreeLines(const std::string& path);
