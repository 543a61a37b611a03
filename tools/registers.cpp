// qvn registers: registers, status words and memory of a camera, for service.
#include <cstdio>

#include "tools/breaker.h"
#include "tools/commands.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

constexpr int32_t Registers = 32, ByteRegisters = 256;
constexpr int32_t LastWordOfUse = 10;
constexpr uint16_t NoWord = 0xFFFF;

struct WordMeaning {
    int32_t address;
    const char* text;
};

const WordMeaning WordMeanings[] = {
    {0, "temperature offset, tenths of a degree"},
    {1, "temperature span, tenths"},
    {6, "year"},
    {7, "serial number, upper part"},
    {8, "serial number, lower part"},
    {9, "temperature sensor"},
    {10, "format of the serial number: 0 binary, else decimal"},
};

// Whose memory the library does not write; 1 is simulated.
constexpr int32_t PlatformsOfFixedMemory[] = {1, 61, 200, 400};

const char* MeaningOf(int32_t address)
{
    for (const WordMeaning& row : WordMeanings) {
        if (row.address == address) return row.text;
    }
    return "";
}

bool MemoryIsFixed(const Session& session)
{
    for (const int32_t platform : PlatformsOfFixedMemory) {
        if (platform == session.platform) return true;
    }
    return false;
}

bool HasByteRegisters(const Session& session)
{
    return session.platform == 70 || session.platform == 71;
}

// The library's image of a register, for those that it has.
std::string ImageText(const Session& session, int32_t reg)
{
    if (reg >= (HasByteRegisters(session) ? ByteRegisters : Registers)) return "-";
    return Text("0x%04X", QV_RMReg(reg, session.camera));
}

void PrintSerialNumber(const Session& session)
{
    const int32_t serial = QV_GetSerNum(session.camera);
    std::printf("Serial number  %s\n",
                serial == -1 ? "none" : Text("%u", static_cast<uint32_t>(serial)).c_str());
}

void PrintMemory(const Session& session, const std::vector<int32_t>& words)
{
    std::printf("Word   Value\n");
    for (const int32_t address : words) {
        const uint16_t value = QV_ReadEP(address, session.camera);
        const char* meaning = value == NoWord ? "not written" : MeaningOf(address);
        const std::string row =
            Text("%4d  0x%04X  %6d", address, value, static_cast<int16_t>(value));
        std::printf("%s%s%s\n", row.c_str(), *meaning == '\0' ? "" : "  ", meaning);
    }
}

void PrintRegisters(const Session& session, const std::vector<int32_t>& registers)
{
    std::printf("Register  Camera  Image\n");
    QV_StopNow(session.camera);
    for (const int32_t reg : registers) {
        std::printf("%8d  0x%04X  %s\n", reg, QV_RDReg(reg, session.camera),
                    ImageText(session, reg).c_str());
    }
    QV_StartNow(session.camera);
}

void PrintImages(const Session& session)
{
    std::printf("Register  Image\n");
    for (int32_t reg = 0; reg < Registers; ++reg) {
        std::printf("%8d  %s\n", reg, ImageText(session, reg).c_str());
    }
}

void PrintStatus(const Session& session, const std::vector<int32_t>& numbers)
{
    std::printf("Status   Value\n");
    QV_StopNow(session.camera);
    for (const int32_t number : numbers) {
        std::printf("%6d  0x%04X\n", number, QV_GetStatus(number, session.camera));
    }
    QV_StartNow(session.camera);
}

// The image is told what the camera was told: it is written again with the next change
// of one of its bits.
bool WriteOneRegister(const Session& session, const NumberAndValue& entry)
{
    const uint16_t mask = HasByteRegisters(session) ? 0x00FF : 0xFFFF;
    const auto value = static_cast<uint16_t>(entry.value);
    if ((value & mask) != value) {
        Complain(
            Text("writing register %d", entry.number),
            Text("0x%04X: the registers of %s have 8 bits", value, session.platformName.c_str()),
            "a value up to 0xFF");
        return false;
    }
    QV_StopNow(session.camera);
    const std::string image = ImageText(session, entry.number);
    const uint16_t before = QV_RDReg(entry.number, session.camera);
    QV_WRReg(entry.number, value, session.camera);
    if (image != "-") QV_WMReg(entry.number, value, session.camera);
    const uint16_t after = QV_RDReg(entry.number, session.camera);
    QV_StartNow(session.camera);
    Announce(Text("Register %d: image %s, read 0x%04X; written 0x%04X, reads 0x%04X", entry.number,
                  image.c_str(), before, value, after));
    return true;
}

bool WriteOneWord(const Session& session, const NumberAndValue& entry)
{
    const std::string doing = Text("writing memory word %d", entry.number);
    const auto value = static_cast<uint16_t>(entry.value);
    if (MemoryIsFixed(session)) {
        Complain(doing, Text("the memory of %s cannot be written", session.platformName.c_str()),
                 "another camera");
        return false;
    }
    const uint16_t before = QV_ReadEP(entry.number, session.camera);
    if (before == value) {
        Announce(Text("Word %d: 0x%04X already, not written", entry.number, before));
        return true;
    }
    QV_WriteEP(entry.number, value, session.camera);
    const uint16_t after = QV_ReadEP(entry.number, session.camera);
    Announce(Text("Word %d: 0x%04X before, 0x%04X now", entry.number, before, after));
    if (after == value) return true;
    Complain(doing, Text("0x%04X was written, 0x%04X is read", value, after),
             "it once more; words that were erased read 0xFFFF");
    return false;
}

// Half words of 65535 mean that there is none; and the decimal form keeps 16 bits.
bool SerialCanBeStored(const RegistersRequest& request)
{
    const auto bits = static_cast<uint32_t>(request.serial);
    if (request.serialIsDecimal && bits >= NoWord) {
        Complain("writing the serial number",
                 Text("%u: decimal numbers are below 65535, others read back differently", bits),
                 "--serial-format binary");
        return false;
    }
    if (bits >> 16 != NoWord && (bits & 0xFFFF) != NoWord) return true;
    Complain("writing the serial number",
             Text("%u: a half of it is 65535, which reads as none", bits), "another number");
    return false;
}

bool WriteSerialNumber(const Session& session, const RegistersRequest& request)
{
    if (MemoryIsFixed(session)) {
        Complain("writing the serial number",
                 Text("the memory of %s cannot be written", session.platformName.c_str()),
                 "another camera");
        return false;
    }
    if (!SerialCanBeStored(request)) return false;
    const int32_t before = QV_GetSerNum(session.camera);
    QV_SetSerNum(request.serial, request.serialIsDecimal ? 1 : 0, session.camera);
    const int32_t after = QV_GetSerNum(session.camera);
    Announce(Text("Serial number: %s before, %u now",
                  before == -1 ? "none" : Text("%u", static_cast<uint32_t>(before)).c_str(),
                  static_cast<uint32_t>(after)));
    if (after == request.serial) return true;
    Complain("writing the serial number", "another number is read than was written",
             "it once more, then `qvn registers --memory 7,8,10`");
    return false;
}

bool Write(const Session& session, const RegistersRequest& request)
{
    for (const NumberAndValue& entry : request.registerWrites) {
        if (BreakRequested() || !WriteOneRegister(session, entry)) return false;
    }
    for (const NumberAndValue& entry : request.memoryWrites) {
        if (BreakRequested() || !WriteOneWord(session, entry)) return false;
    }
    if (BreakRequested()) return false;
    return !request.writesSerial || WriteSerialNumber(session, request);
}

void PrintOverview(const Session& session)
{
    std::vector<int32_t> words;
    for (int32_t address = 0; address <= LastWordOfUse; ++address) words.push_back(address);
    std::printf("Camera         %d, %s\n", session.camera, CameraText(session).c_str());
    PrintSerialNumber(session);
    PrintMemory(session, words);
    PrintImages(session);
}

bool Writes(const RegistersRequest& request)
{
    return !request.registerWrites.empty() || !request.memoryWrites.empty() || request.writesSerial;
}

bool Reads(const RegistersRequest& request)
{
    return !request.reads.empty() || !request.statusReads.empty() || !request.memoryReads.empty();
}

} // namespace

int RunRegisters(const RegistersRequest& request)
{
    if (Writes(request) && !request.mayWrite) {
        Complain("checking the arguments", "nothing is written without --allow-writing",
                 "--allow-writing, if the values are right: memory keeps them for good");
        return ExitFailed;
    }
    Session session;
    if (!OpenSession(request.camera, CallsBy::Program, &session)) {
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    const SessionCloser closer = {session, true};
    if (!Write(session, request)) return BreakRequested() ? ExitBroken : ExitFailed;
    if (!request.reads.empty()) PrintRegisters(session, request.reads);
    if (!request.statusReads.empty()) PrintStatus(session, request.statusReads);
    if (!request.memoryReads.empty()) PrintMemory(session, request.memoryReads);
    if (!Writes(request) && !Reads(request)) PrintOverview(session);
    return BreakRequested() ? ExitBroken : ExitDone;
}
