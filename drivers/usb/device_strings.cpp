// What stands in the strings of the USB device in place of a memory.
#include "drivers/usb/device_strings.h"

#include <cstdlib>
#include <cstring>

#include "core/record.h"
#include "platform/system.h"

namespace {

constexpr size_t StringRoom = 256; // more than a device library writes
constexpr int32_t FirstWord = 4, YearWord = 6;
constexpr int32_t FirstYear = 2000;

struct DeviceStrings {
    char serial[StringRoom], description[StringRoom];
};

// What cannot be read is empty.
DeviceStrings ReadStrings(int32_t camera)
{
    DeviceStrings strings = {};
    const uint64_t handle = CameraTable[camera].UsbHandle;
    if (System.usb.DeviceInfo(handle, strings.serial, strings.description) != 0) return {};
    return strings;
}

// Behind the end of a short string there are zeros.
int32_t NumberIn(const char* text, uint32_t place, uint32_t length)
{
    char piece[16] = {};
    memcpy(piece, text + place, length);
    return static_cast<int32_t>(strtol(piece, nullptr, 10));
}

} // namespace

uint16_t DescriptionWord(int32_t word, uint32_t place, int32_t camera)
{
    if (word < FirstWord || word > YearWord) return 0;
    const DeviceStrings strings = ReadStrings(camera);
    const int32_t number =
        NumberIn(strings.description, place + 2 * static_cast<uint32_t>(word - FirstWord), 2);
    return static_cast<uint16_t>(word == YearWord ? number + FirstYear : number);
}

int32_t SerialOfString(uint32_t length, int32_t camera)
{
    return NumberIn(ReadStrings(camera).serial, 0, length);
}
