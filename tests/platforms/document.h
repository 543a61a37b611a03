// docs/functions-by-platform.md, made from what the functions were seen to do.
#pragma once
#include <string>
#include <vector>

#include "tests/platforms/probe.h"

std::string DocumentText(const std::vector<Column>& columns);

inline constexpr char DocumentPath[] = QVN_SOURCE_DIR "/docs/functions-by-platform.md";
std::string FileText(const std::string& path);
