// Reading the repository, and a scanner that knows comments, strings and braces.
#include "tests/tidy/sources.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

namespace fs = std::filesystem;

const std::vector<std::string> Folders = {
    "include", "core",       "catalogue",  "sequencer", "acquisition", "devices",
    "links",   "drivers",    "platform",   "emulator",  "tools",       "bindings",
    "tests",   "supervisor", "benchmarks", "examples",  "share",       "scripts",
    "docs",    "cmake",      ".ci",        "bench",     "python",
};

// Text that a person wrote; the seeds of the fuzzers are broken on purpose.
bool IsText(const std::string& path)
{
    static const std::vector<std::string> binary = {".png", ".fits", ".raw", ".bin", ".pyc"};
    const std::string extension = fs::path(path).extension().string();
    if (path.find("/seeds/") != std::string::npos) return false;
    return std::find(binary.begin(), binary.end(), extension) == binary.end();
}

bool IsIdentifier(char letter)
{
    return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '_';
}

// Blanks a stretch but keeps its line ends.
void Blank(std::string* code, size_t begin, size_t end)
{
    for (size_t i = begin; i < end && i < code->size(); ++i) {
        if ((*code)[i] != '\n') (*code)[i] = ' ';
    }
}

// Behind the literal whose opening quote is at `begin`.
size_t EndOfQuoted(const std::string& text, size_t begin)
{
    const char quote = text[begin];
    if (quote == '"' && begin > 0 && text[begin - 1] == 'R') {
        const size_t open = text.find('(', begin);
        const std::string end = ")" + text.substr(begin + 1, open - begin - 1) + "\"";
        const size_t close = text.find(end, open);
        return close == std::string::npos ? text.size() : close + end.size();
    }
    size_t i = begin + 1;
    while (i < text.size() && text[i] != quote && text[i] != '\n') i += text[i] == '\\' ? 2 : 1;
    return i + 1;
}

size_t EndOfDirective(const std::string& text, size_t begin)
{
    size_t end = begin;
    while (end < text.size() && (text[end] != '\n' || text[end - 1] == '\\')) ++end;
    return end;
}

bool StartsLine(const std::string& text, size_t at)
{
    while (at > 0 && (text[at - 1] == ' ' || text[at - 1] == '\t')) --at;
    return at == 0 || text[at - 1] == '\n';
}

// Behind the comment, literal or directive that begins at `at`; `at` if none does.
size_t EndOfNoise(const std::string& text, size_t at)
{
    const char letter = text[at];
    if (text.compare(at, 2, "//") == 0) return std::min(text.find('\n', at), text.size());
    if (text.compare(at, 2, "/*") == 0) {
        const size_t close = text.find("*/", at + 2);
        return close == std::string::npos ? text.size() : close + 2;
    }
    // Between digits a quote separates groups.
    const bool separator = letter == '\'' && at > 0 && IsIdentifier(text[at - 1]);
    if ((letter == '"' || letter == '\'') && !separator) return EndOfQuoted(text, at);
    if (letter == '#' && StartsLine(text, at)) return EndOfDirective(text, at);
    return at;
}

std::string CodeOf(const std::string& text)
{
    std::string code = text;
    for (size_t i = 0; i < text.size();) {
        const size_t end = EndOfNoise(text, i);
        Blank(&code, i, end);
        i = end > i ? end : i + 1;
    }
    return code;
}

// The text in front of a '{' is the head of a function if it has a parameter
// list and no '=' outside it.
bool IsFunctionHead(const std::string& head)
{
    int depth = 0;
    bool list = false;
    for (const char letter : head) {
        if (letter == '(') ++depth;
        if (letter == ')') --depth;
        if (letter == ')' && depth == 0) list = true;
        if (letter == '=' && depth == 0 && head.find("operator") == std::string::npos) return false;
    }
    return list && depth == 0;
}

// A brace in whose body functions may stand.
bool IsScopeHead(const std::string& head)
{
    static const std::vector<std::string> scopes = {"namespace", "struct", "class", "union",
                                                    "extern"};
    return std::any_of(scopes.begin(), scopes.end(),
                       [&head](const std::string& word) { return !FindWord(head, word).empty(); });
}

size_t MatchingBrace(const std::string& code, size_t open)
{
    int depth = 0;
    for (size_t i = open; i < code.size(); ++i) {
        if (code[i] == '{') ++depth;
        if (code[i] == '}' && --depth == 0) return i;
    }
    return code.size();
}

// Where the parameters begin. Macros without a semicolon may stand in front.
size_t ParametersOf(const std::string& head)
{
    size_t at = 0;
    int depth = 0;
    for (size_t i = 0; i < head.size(); ++i) {
        if (head[i] == '(' && depth++ == 0) at = i;
        if (head[i] == ')') --depth;
    }
    return at;
}

// The name in front of the parameters; of a test its suite and name.
std::string NameOf(const std::string& head)
{
    const size_t open = ParametersOf(head);
    size_t begin = open;
    while (begin > 0 && (IsIdentifier(head[begin - 1]) || head[begin - 1] == ':')) --begin;
    const std::string name = head.substr(begin, open - begin);
    return name.rfind("TEST", 0) == 0 ? head.substr(begin, head.find(')', open) - begin + 1) : name;
}

} // namespace

SourceFile MakeSource(const std::string& path, const std::string& text)
{
    return {path, text, IsCode(path) ? CodeOf(text) : std::string()};
}

std::vector<SourceFile> AllSources()
{
    const fs::path root = QVN_SOURCE_DIR;
    std::vector<fs::path> paths;
    for (const fs::directory_entry& entry : fs::directory_iterator(root)) {
        const bool link = entry.path().filename() == ".git"; // of a second working tree
        if (entry.is_regular_file() && !link) paths.push_back(entry.path());
    }
    for (const std::string& folder : Folders) {
        if (!fs::is_directory(root / folder)) continue;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root / folder)) {
            if (entry.is_regular_file()) paths.push_back(entry.path());
        }
    }
    std::sort(paths.begin(), paths.end());
    std::vector<SourceFile> sources;
    for (const fs::path& path : paths) {
        const std::string name = path.lexically_relative(root).generic_string();
        if (!IsText(name)) continue;
        std::ifstream stream(path, std::ios::binary);
        std::ostringstream text;
        text << stream.rdbuf();
        sources.push_back(MakeSource(name, text.str()));
    }
    return sources;
}

bool IsCode(const std::string& path)
{
    const std::string extension = fs::path(path).extension().string();
    return extension == ".cpp" || extension == ".c" || extension == ".h";
}

bool IsHeader(const std::string& path)
{
    return fs::path(path).extension() == ".h";
}

std::string FolderOf(const std::string& path)
{
    const size_t slash = path.find('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

bool IsLibraryFolder(const std::string& folder)
{
    static const std::vector<std::string> library = {
        "core", "catalogue", "sequencer", "acquisition", "devices", "links", "drivers", "platform"};
    return std::find(library.begin(), library.end(), folder) != library.end();
}

std::vector<Function> FunctionsOf(const SourceFile& file)
{
    const std::string& code = file.code;
    std::vector<Function> functions;
    size_t begin = 0; // of the head that is being read
    int parentheses = 0;
    for (size_t i = 0; i < code.size(); ++i) {
        const char letter = code[i];
        if (letter == '(') ++parentheses;
        if (letter == ')') --parentheses;
        if (parentheses != 0) continue;
        if (letter == ';' || letter == '}') begin = i + 1;
        if (letter != '{') continue;
        const std::string head = code.substr(begin, i - begin);
        const size_t close = MatchingBrace(code, i);
        if (IsFunctionHead(head)) {
            const int first = LineAt(code, begin + ParametersOf(head));
            functions.push_back({NameOf(head), first, LineAt(code, close)});
            i = close;
        } else if (!IsScopeHead(head)) {
            i = close;
        }
        begin = i + 1;
    }
    return functions;
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

std::vector<size_t> FindWord(const std::string& text, const std::string& word)
{
    std::vector<size_t> found;
    for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        const size_t end = at + word.size();
        const bool opens = at == 0 || !IsIdentifier(text[at - 1]) || !IsIdentifier(word.front());
        const bool closes =
            end == text.size() || !IsIdentifier(text[end]) || !IsIdentifier(word.back());
        if (opens && closes) found.push_back(at);
    }
    return found;
}

int LineAt(const std::string& text, size_t offset)
{
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(offset, text.size()));
    return 1 + static_cast<int>(std::count(text.begin(), end, '\n'));
}
