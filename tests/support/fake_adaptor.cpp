#include "tests/support/fake_adaptor.h"

#include <algorithm>
#include <cstdio>

#include "platform/system.h"

FakeAdaptorState Adaptor;

namespace {

constexpr uint32_t ByteMode = 8;
int LibraryToken;

void Note(const std::string& text)
{
    Usb.log.push_back("adaptor " + text);
}

void ExpectDevice(uint32_t device)
{
    EXPECT_EQ(device, static_cast<uint32_t>(UsbCamera));
}

std::string Hex(unsigned value, int digits)
{
    char text[16];
    snprintf(text, sizeof text, "%0*X", digits, value);
    return text;
}

uint32_t Init(uint32_t device)
{
    ExpectDevice(device);
    Note("init");
    return Adaptor.initResult;
}

uint32_t OpenDevice(uint32_t device)
{
    ExpectDevice(device);
    Note("open");
    return 1;
}

uint32_t CloseDevice(uint32_t device)
{
    ExpectDevice(device);
    Note("close");
    return 1;
}

uint32_t ParInit(uint32_t device, uint32_t mode)
{
    ExpectDevice(device);
    Adaptor.mode = mode;
    Note("mode " + std::to_string(mode));
    return 1;
}

uint32_t SetTimeout(uint32_t device, uint32_t units)
{
    ExpectDevice(device);
    Note("timeout " + std::to_string(units));
    return 1;
}

uint32_t SetAddress(uint32_t device, uint32_t address)
{
    ExpectDevice(device);
    Note("eeprom at " + std::to_string(address));
    return 1;
}

uint32_t WriteByte(uint32_t device, uint32_t address, uint8_t byte)
{
    ExpectDevice(device);
    Adaptor.memory[address] = byte;
    Note("eeprom " + std::to_string(address) + " = " + Hex(byte, 2));
    return 1;
}

uint32_t ReadByte(uint32_t device, uint32_t address, uint8_t* byte)
{
    ExpectDevice(device);
    *byte = Adaptor.memory[address];
    Note("eeprom " + std::to_string(address) + " ?");
    return 1;
}

void Answer(const std::string& text)
{
    for (auto& [end, answers] : Adaptor.answers) {
        if (text.size() < end.size() || answers.empty()) continue;
        if (text.compare(text.size() - end.size(), end.size(), end) != 0) continue;
        // What is selected anew is all that can be read.
        Adaptor.queue.assign(answers.front().begin(), answers.front().end());
        if (answers.size() > 1) answers.pop_front();
    }
}

uint32_t ParOut(uint32_t device, const void* items, uint32_t count)
{
    ExpectDevice(device);
    std::string text;
    for (uint32_t i = 0; i < count; ++i) {
        const bool isByte = Adaptor.mode == ByteMode;
        const unsigned item =
            isByte ? static_cast<const uint8_t*>(items)[i] : static_cast<const uint16_t*>(items)[i];
        text += (text.empty() ? "" : " ") + Hex(item, isByte ? 2 : 4);
    }
    Note("> " + text);
    Answer(text);
    return 1;
}

uint32_t ParIn(uint32_t device, void* items, uint32_t count)
{
    ExpectDevice(device);
    Note("< " + std::to_string(count));
    for (uint32_t i = 0; i < count && !Adaptor.queue.empty(); ++i) {
        const uint16_t item = Adaptor.queue.front();
        Adaptor.queue.pop_front();
        if (Adaptor.mode == ByteMode) {
            static_cast<uint8_t*>(items)[i] = static_cast<uint8_t>(item);
        } else {
            static_cast<uint16_t*>(items)[i] = item;
        }
    }
    return 1;
}

void* Load(const char* name)
{
    Adaptor.path = name;
    if (Adaptor.libraryMissing) return nullptr;
    Note("load");
    ++Adaptor.loads;
    return &LibraryToken;
}

void* Symbol(void* library, const char* name)
{
    EXPECT_EQ(library, &LibraryToken);
    if (Adaptor.missingEntries.count(name) != 0) return nullptr;
    const std::map<std::string, void*> entries = {
        {"UsbInit", reinterpret_cast<void*>(Init)},
        {"UsbOpen", reinterpret_cast<void*>(OpenDevice)},
        {"UsbClose", reinterpret_cast<void*>(CloseDevice)},
        {"UsbParInit", reinterpret_cast<void*>(ParInit)},
        {"UsbSetTimeout", reinterpret_cast<void*>(SetTimeout)},
        {"UsbEEpSetAddr", reinterpret_cast<void*>(SetAddress)},
        {"UsbEEpWriteByte", reinterpret_cast<void*>(WriteByte)},
        {"UsbEEpReadByte", reinterpret_cast<void*>(ReadByte)},
        {"UsbParOut", reinterpret_cast<void*>(ParOut)},
        {"UsbParIn", reinterpret_cast<void*>(ParIn)},
    };
    const auto entry = entries.find(name);
    return entry == entries.end() ? nullptr : entry->second;
}

void Free(void* library)
{
    EXPECT_EQ(library, &LibraryToken);
    Note("free");
    --Adaptor.loads;
}

} // namespace

void AnswerAdaptor(const std::string& end, const AdaptorItems& items)
{
    Adaptor.answers[end] = {items};
}

std::string TakeAdaptorWrites()
{
    const std::string start = "adaptor > ";
    std::string text;
    for (const std::string& line : Usb.log) {
        if (line.rfind(start, 0) != 0) continue;
        text += (text.empty() ? "" : "; ") + line.substr(start.size());
    }
    Usb.log.clear();
    return text;
}

void FakeAdaptorTest::SetUp()
{
    FakeUsbTest::SetUp();
    Adaptor = FakeAdaptorState{};
    System.library = {Load, Symbol, Free};
}

void FakeAdaptorTest::TearDown()
{
    EXPECT_EQ(Adaptor.loads, 0);
    FakeUsbTest::TearDown();
}
