#include "tests/platforms/document.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "catalogue/catalogue.h"
#include "tests/platforms/proofs.h"

namespace {

const char Head[] = R"(# Functions by platform

What each of the 123 functions does on each platform, and the tests that show it. No mark on this
page is kept by hand: `tests/platforms` opens a virtual camera of every platform in every way that
its binding tells apart, calls each function once with arguments that have an effect where there can
be one, and watches the seam to the system and all that the library keeps. A test compares the page
with what was seen. After a change:

<!-- not run: writes to the tree -->

    QVN_WRITE_DOCS=1 build/test_platforms

| Mark | The call |
|---|---|
| ● | sends something to the camera, its interface card or their drivers |
| ○ | gives a result, or changes what the library keeps; nothing goes out |
| | does nothing there, and gives 0 |
| a number | is refused with this error |

An empty place is as it should be: the platform does not have what the function is for, which
`include/qvn.h` tells at the function. `QV_KineticsCCD` reads a frame on every platform; it shifts
charge inside the sensor on 40 to 42, 44 and 47 only. The simulated camera (1) has nothing that
could be sent to. Codes of the catalogue that are no column have a name and no driver: their open
is refused with error 3.

)";

const char* LinkName(int32_t link)
{
    switch (link) {
    case QV_INTERFACE_PRINTER_PORT: return "printer port";
    case QV_INTERFACE_PORT_CARD: return "port card";
    case QV_INTERFACE_USB: return "USB";
    default: return "interface card";
    }
}

const char* PlatformName(int32_t code)
{
    for (const auto& row : PlatformNames) {
        if (row.code == code) return row.name;
    }
    return "";
}

size_t ColumnsOf(const std::vector<Column>& columns, int32_t platform)
{
    return static_cast<size_t>(
        std::count_if(columns.begin(), columns.end(),
                      [&](const Column& column) { return column.platform == platform; }));
}

// The platform's code, with a letter where it has several columns.
std::vector<std::string> Labels(const std::vector<Column>& columns)
{
    std::vector<std::string> labels;
    char letter = 'a';
    for (size_t i = 0; i < columns.size(); ++i) {
        const int32_t platform = columns[i].platform;
        letter = i > 0 && columns[i - 1].platform == platform ? static_cast<char>(letter + 1) : 'a';
        labels.push_back(std::to_string(platform));
        if (ColumnsOf(columns, platform) > 1) labels.back() += letter;
    }
    return labels;
}

std::string SensorsText(const Column& column)
{
    std::set<int32_t> sensors;
    for (const Variant& variant : column.variants) {
        sensors.insert(variant.sensors.begin(), variant.sensors.end());
    }
    int32_t all[SensorNameCount];
    const int32_t count = CCDQuery(column.platform, all);
    if (sensors.size() == static_cast<size_t>(count)) return "all";
    std::string text;
    for (const int32_t sensor : sensors)
        text += (text.empty() ? "" : ", ") + std::to_string(sensor);
    return text;
}

std::string LinksText(const Column& column)
{
    std::set<std::string> links;
    for (const Variant& variant : column.variants) links.insert(LinkName(variant.link));
    std::string text;
    for (const std::string& link : links) text += (text.empty() ? "" : ", ") + link;
    return column.platform == 1 ? "" : text;
}

std::string PlatformTable(const std::vector<Column>& columns)
{
    std::string text = "| Column | Platform | Link | Sensors |\n|---|---|---|---|\n";
    const std::vector<std::string> labels = Labels(columns);
    for (size_t i = 0; i < columns.size(); ++i) {
        text += "| " + labels[i] + " | " + PlatformName(columns[i].platform) + " | " +
                LinksText(columns[i]) + " | " + SensorsText(columns[i]) + " |\n";
    }
    return text;
}

std::string Mark(const Cell& cell)
{
    switch (cell.reach) {
    case Reach::Camera: return "●";
    case Reach::Library: return "○";
    case Reach::Refused: return std::to_string(cell.error);
    default: return "";
    }
}

std::string FunctionRow(const std::string& name, const std::vector<Column>& columns)
{
    size_t call = 0;
    while (call < Calls().size() && name != Calls()[call].name) ++call;
    std::string row = "| `" + name + "` |";
    for (const Column& column : columns) {
        const std::string mark = call < column.cells.size() ? Mark(column.cells[call]) : "?";
        row += mark.empty() ? " |" : " " + mark + " |";
    }
    return row + "\n";
}

std::string GroupHead(const std::string& title, const std::vector<Column>& columns)
{
    std::string text = "\n## " + title + "\n\n| Function |";
    for (const std::string& label : Labels(columns)) text += " " + label + " |";
    text += "\n|---|";
    for (size_t i = 0; i < columns.size(); ++i) text += ":-:|";
    return text + "\n";
}

// The name in a line that declares a function; "" in others.
std::string DeclaredName(const std::string& line)
{
    if (line.rfind("QVN_API ", 0) != 0) return "";
    const size_t end = line.find('(');
    const size_t begin = line.find_last_of(" *", end) + 1;
    return line.substr(begin, end - begin);
}

// The groups of the header, and its functions in their order.
std::string FunctionTables(const std::vector<Column>& columns)
{
    std::string text, title, line, before;
    std::istringstream header(FileText(QVN_SOURCE_DIR "/include/qvn.h"));
    bool isOpen = false;
    for (; std::getline(header, line); before = line) {
        if (before.rfind("/* ----", 0) == 0 && line.rfind("/* ", 0) == 0 && line[3] != '-') {
            title = line.substr(3, line.find("  ") - 3);
            isOpen = false;
        }
        const std::string name = DeclaredName(line);
        if (name.empty()) continue;
        if (!isOpen) text += GroupHead(title, columns);
        isOpen = true;
        text += FunctionRow(name, columns);
    }
    return text;
}

std::string TestTable()
{
    std::string text =
        "\n## Tests\n\nEach function has its effect in these tests, among others.\n\n"
        "| Function | Tests |\n|---|---|\n";
    for (const Call& call : Calls()) {
        std::string tests;
        for (const Proof& proof : Proofs()) {
            if (std::string(proof.function) != call.name) continue;
            tests +=
                (tests.empty() ? "" : ", ") + std::string("`") + proof.folder + "` " + proof.test;
        }
        text += "| `" + std::string(call.name) + "` | " + tests + " |\n";
    }
    return text;
}

} // namespace

std::string FileText(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::string DocumentText(const std::vector<Column>& columns)
{
    return Head + PlatformTable(columns) + FunctionTables(columns) + TestTable();
}
