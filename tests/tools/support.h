// What the tests of the program share: running it, reading back what it wrote.
#pragma once
#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct ProgramResult {
    int exitCode = -1; // -1: it did not end by itself
    std::string out, err;
    double seconds = 0.0;
};

// Where the program's stdout goes.
enum class OutTo {
    File,
    Nowhere,    // /dev/null
    FullDisk,   // /dev/full
    ClosedPipe, // as of `qvn ... | head -1` when head has its line
};

// A folder of this test's own, removed with all that is in it at the end.
struct Scratch {
    std::string path;
    int64_t largestFile = 0; // bytes that the program may write to one file; 0: no limit
    OutTo out = OutTo::File;
    bool errToo = false;   // stderr goes where stdout goes
    bool asNobody = false; // the program runs as a user without rights; only root can do that
    // Words for tests/tools/spy; empty: the program runs without it. SpyNotes reads what
    // it noted.
    std::string spy;
};

Scratch MakeScratch();
void RemoveScratch(const Scratch& scratch);

// Runs `qvn` with these arguments in the folder and waits for its end.
ProgramResult RunProgram(const Scratch& scratch, const std::vector<std::string>& arguments);

// The same in two steps, for a program that gets signals meanwhile.
struct RunningProgram {
    pid_t process = -1;
    std::string outFile, errFile;
    double start = 0.0;
};

RunningProgram StartProgram(const Scratch& scratch, const std::vector<std::string>& arguments);
ProgramResult FinishProgram(const RunningProgram& program);

// Waits until the program has written `text`; false after ten seconds.
bool WaitForText(const RunningProgram& program, const std::string& text);

// Runs `qvn` with a terminal as its stderr, and returns what that showed.
std::string RunOnTerminal(const Scratch& scratch, const std::vector<std::string>& arguments);

// A folder with what `qvn init` wrote. The raw image is a link, the others are copies.
bool CopySampleFiles(const Scratch& scratch, const std::string& folder);

std::string SpyNotes(const Scratch& scratch);

bool Contains(const std::string& text, const std::string& part);
bool FileExists(const Scratch& scratch, const std::string& name);
std::string ReadText(const Scratch& scratch, const std::string& name);
void WriteText(const Scratch& scratch, const std::string& name, const std::string& text);
std::vector<std::string> FilesIn(const Scratch& scratch);

// A picture that was read back; width 0 when it could not be.
struct Picture {
    int32_t width = 0, height = 0, bits = 0, channels = 0;
    int32_t planes = 0; // of a FITS cube
    std::vector<uint16_t> pixels;
    std::map<std::string, std::string> keywords; // of FITS; texts without their quotes
};

// `unit` 0 is the first of a FITS file.
Picture ReadFits(const Scratch& scratch, const std::string& name, int32_t unit = 0);
int32_t FitsUnits(const Scratch& scratch, const std::string& name);
// A picture of 16 bits.
void WriteFits(const Scratch& scratch, const std::string& name, int32_t width, int32_t height,
               std::vector<uint16_t> pixels);
Picture ReadPng(const Scratch& scratch, const std::string& name);
Picture ReadTiff(const Scratch& scratch, const std::string& name);
std::vector<uint16_t> ReadRaw(const Scratch& scratch, const std::string& name);

uint16_t PixelAt(const Picture& picture, int32_t x, int32_t y);
double KeywordNumber(const Picture& picture, const std::string& key);
