// The rules of the sources. Each check takes one file and returns a complaint for
// each place that breaks the rule: "path:line: what is wrong".
#pragma once
#include <string>
#include <vector>

#include "tests/tidy/sources.h"

using Complaints = std::vector<std::string>;
using Check = Complaints (*)(const SourceFile& file);

// The folders that a folder may include; the tables of the architecture.
Complaints ForbiddenIncludes(const SourceFile& file);

// Headers of operating systems and vendors outside platform/, tools/ and tests.
Complaints OutsideHeaders(const SourceFile& file);

// What the library folders do without: classes, exceptions, allocation.
Complaints ForbiddenLanguage(const SourceFile& file);

// More than 70 lines from the parameters to the last brace.
Complaints LongFunctions(const SourceFile& file);

// sequencer/builders: one builder a source, and the source named after it.
Complaints MisnamedBuilders(const SourceFile& file);

// A note of unfinished work that was left in the text.
Complaints LeftoverMarkers(const SourceFile& file);

// A mention of the documents that the sources were written from, or of the
// machine they were written on. The sources stand for themselves.
Complaints OutsideReferences(const SourceFile& file);

// Drivers and builders open with a comment that says for which camera they are.
Complaints MissingHeads(const SourceFile& file);

// #pragma once; headers that C may read too have a guard.
Complaints UnguardedHeaders(const SourceFile& file);
