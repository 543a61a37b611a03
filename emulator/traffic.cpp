// The traffic record. The last line stays open until a different one comes, so
// that a poll loop is one line however long it runs.
#include "emulator/traffic.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "emulator/world.h"

namespace {

struct Record {
    std::string text; // closed lines
    std::string open; // the last line, without its count
    uint64_t count;   // of the open line; 0: there is none
    void (*sink)(const char* text);
};
Record Kept;
std::mutex Lock;
std::atomic<bool> Storing, Listening, Cycles;

std::string Folded(const Record& record)
{
    if (record.count < 2) return record.open;
    return record.open + " x " + std::to_string(record.count);
}

void CloseLine()
{
    if (Kept.count == 0) return;
    const std::string line = Folded(Kept);
    if (Storing) Kept.text += line + '\n';
    if (Kept.sink != nullptr) Kept.sink(line.c_str());
    Kept.count = 0;
}

} // namespace

void EmuRecord(bool on)
{
    const std::lock_guard<std::mutex> guard(Lock);
    CloseLine();
    Storing = on;
}

void EmuRecordTo(void (*line)(const char* text))
{
    const std::lock_guard<std::mutex> guard(Lock);
    CloseLine();
    Kept.sink = line;
    Listening = line != nullptr;
}

namespace {

void NoteLine(const char* format, va_list arguments)
{
    char line[512];
    vsnprintf(line, sizeof line, format, arguments);
    const std::lock_guard<std::mutex> guard(Lock);
    if (Kept.count == 0 || Kept.open != line) {
        CloseLine();
        Kept.open = line;
    }
    ++Kept.count;
}

} // namespace

bool EmuRecording()
{
    return Storing || Listening;
}

void EmuRecordCycles(bool on)
{
    Cycles = on;
}

void EmuNoteSent(const char* link, const uint8_t* bytes, size_t items, size_t itemBytes,
                 const char* end)
{
    constexpr size_t itemsPerLine = 32;
    if (!EmuRecording()) return;
    std::string line = std::string(link) + " >";
    for (size_t i = 0; i < items; ++i) {
        if (i != 0 && i % itemsPerLine == 0) {
            EmuNote("%s", line.c_str());
            line = std::string(link) + " +";
        }
        line += ' ';
        for (size_t byte = itemBytes; byte > 0; --byte) {
            char text[3];
            snprintf(text, sizeof text, "%02X", bytes[i * itemBytes + byte - 1]);
            line += text;
        }
    }
    EmuNote("%s%s", line.c_str(), end);
}

void EmuNote(const char* format, ...)
{
    if (!EmuRecording()) return;
    va_list arguments;
    va_start(arguments, format);
    NoteLine(format, arguments);
    va_end(arguments);
}

void EmuNoteAccess(const char* format, ...)
{
    if (!EmuRecording() || Cycles) return;
    va_list arguments;
    va_start(arguments, format);
    NoteLine(format, arguments);
    va_end(arguments);
}

void EmuNoteCycle(const char* format, ...)
{
    if (!EmuRecording() || !Cycles) return;
    va_list arguments;
    va_start(arguments, format);
    NoteLine(format, arguments);
    va_end(arguments);
}

std::string EmuTraffic()
{
    const std::lock_guard<std::mutex> guard(Lock);
    if (Kept.count == 0 || !Storing) return Kept.text;
    return Kept.text + Folded(Kept) + '\n';
}

void EmuResetTraffic()
{
    const std::lock_guard<std::mutex> guard(Lock);
    Kept = {};
    Storing = false;
    Listening = false;
    Cycles = false;
}
