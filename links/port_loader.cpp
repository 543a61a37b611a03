#include "links/port_loader.h"

#include <cstring>

#include "core/errors.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/port_library.h"
#include "core/record.h"
#include "platform/system.h"

namespace {

// All that the library offers; the first four are what the links call.
constexpr const char* EntryNames[] = {
    "PortOut",           "PortWordOut", "PortIn",         "PortWordIn",
    "PortDWordOut",      "PortDWordIn", "SetPortBit",     "ClrPortBit",
    "NotPortBit",        "GetPortBit",  "RightPortShift", "LeftPortShift",
    "IsDriverInstalled",
};
constexpr size_t EntryCount = sizeof EntryNames / sizeof *EntryNames;

} // namespace

int32_t LoadPortLibrary()
{
    if (PortLibrary.Handle != nullptr) return ErrorNone;
    void* library = System.library.Load("io");
    if (library == nullptr) return ErrorPortLibrary;
    void* entries[EntryCount];
    for (size_t i = 0; i < EntryCount; ++i) {
        entries[i] = System.library.Symbol(library, EntryNames[i]);
    }
    PortLibrary.Handle = library; // the end of the process releases it
    memcpy(&PortLibrary.PortOut, &entries[0], sizeof(void*));
    memcpy(&PortLibrary.PortWordOut, &entries[1], sizeof(void*));
    memcpy(&PortLibrary.PortIn, &entries[2], sizeof(void*));
    memcpy(&PortLibrary.PortWordIn, &entries[3], sizeof(void*));
    return ErrorNone;
}

int32_t AcquirePorts(uint16_t base, uint16_t count, int32_t camera)
{
    if ((LoadFlag(CameraTable[camera].Options) & OptionPortLibrary) != 0) return LoadPortLibrary();
    return System.port.Acquire(base, count) ? ErrorNone : ErrorCameraNotFound;
}
