#include "links/adaptor.h"

#include <cstring>

#include "core/errors.h"
#include "core/record.h"
#include "links/register_bytes.h"
#include "platform/system.h"

namespace {

constexpr uint32_t TransferTimeout = 65535; // in units of the library
constexpr uint32_t MemoryDevice = 81;       // address on the adaptor's own bus

constexpr int32_t ReadFlag = 0x80; // with a register's number, in register 0

using DeviceCall = uint32_t (*)(uint32_t device);
using SettingCall = uint32_t (*)(uint32_t device, uint32_t value);
using OutCall = uint32_t (*)(uint32_t device, const void* items, uint32_t count);
using InCall = uint32_t (*)(uint32_t device, void* items, uint32_t count);
using StoreCall = uint32_t (*)(uint32_t device, uint32_t address, uint8_t byte);
using FetchCall = uint32_t (*)(uint32_t device, uint32_t address, uint8_t* byte);

struct AdaptorCalls {
    DeviceCall init, open, close;
    SettingCall parInit, setTimeout, setMemoryAddress;
    OutCall parOut;
    InCall parIn;
    StoreCall storeByte;
    FetchCall fetchByte;
};

uint32_t NoDeviceCall(uint32_t)
{
    return 0;
}
uint32_t NoSettingCall(uint32_t, uint32_t)
{
    return 0;
}
uint32_t NoOutCall(uint32_t, const void*, uint32_t)
{
    return 0;
}
uint32_t NoInCall(uint32_t, void*, uint32_t)
{
    return 0;
}
uint32_t NoStoreCall(uint32_t, uint32_t, uint8_t)
{
    return 0;
}
uint32_t NoFetchCall(uint32_t, uint32_t, uint8_t*)
{
    return 0;
}

constexpr AdaptorCalls NoCalls = {
    .init = NoDeviceCall,
    .open = NoDeviceCall,
    .close = NoDeviceCall,
    .parInit = NoSettingCall,
    .setTimeout = NoSettingCall,
    .setMemoryAddress = NoSettingCall,
    .parOut = NoOutCall,
    .parIn = NoInCall,
    .storeByte = NoStoreCall,
    .fetchByte = NoFetchCall,
};

// Where an entry of the library goes.
struct AdaptorEntry {
    const char* name;
    size_t place;
};

constexpr AdaptorEntry Entries[] = {
    {"UsbInit", offsetof(AdaptorCalls, init)},
    {"UsbOpen", offsetof(AdaptorCalls, open)},
    {"UsbClose", offsetof(AdaptorCalls, close)},
    {"UsbParInit", offsetof(AdaptorCalls, parInit)},
    {"UsbSetTimeout", offsetof(AdaptorCalls, setTimeout)},
    {"UsbEEpSetAddr", offsetof(AdaptorCalls, setMemoryAddress)},
    {"UsbParOut", offsetof(AdaptorCalls, parOut)},
    {"UsbParIn", offsetof(AdaptorCalls, parIn)},
    {"UsbEEpWriteByte", offsetof(AdaptorCalls, storeByte)},
    {"UsbEEpReadByte", offsetof(AdaptorCalls, fetchByte)},
};
static_assert(sizeof(AdaptorCalls) == sizeof Entries / sizeof *Entries * sizeof(void*));

// Each camera has loaded the library for itself.
struct Adaptor {
    void* library = nullptr;
    AdaptorCalls calls = NoCalls;
};
Adaptor Adaptors[CameraCount];

uint32_t DeviceOf(int32_t camera)
{
    return static_cast<uint32_t>(camera);
}

const AdaptorCalls& CallsOf(int32_t camera)
{
    return Adaptors[camera].calls;
}

void FindEntries(Adaptor* adaptor)
{
    for (const AdaptorEntry& entry : Entries) {
        void* function = System.library.Symbol(adaptor->library, entry.name);
        if (function == nullptr) continue;
        memcpy(reinterpret_cast<char*>(&adaptor->calls) + entry.place, &function, sizeof function);
    }
}

void FreeAdaptor(int32_t camera)
{
    Adaptor& adaptor = Adaptors[camera];
    if (adaptor.library != nullptr) System.library.Free(adaptor.library);
    adaptor = {};
}

bool LoadAdaptor(int32_t camera)
{
    FreeAdaptor(camera);
    const bool isWindows = System.process.separator == '\\';
    Adaptor& adaptor = Adaptors[camera];
    adaptor.library = System.library.Load(isWindows ? "./qvn/kzbusb.dll" : "./qvn/kzbusb.so");
    if (adaptor.library == nullptr) return false;
    FindEntries(&adaptor);
    return true;
}

uint32_t ByteAddress(int32_t address)
{
    return 2 * static_cast<uint32_t>(address);
}

} // namespace

int32_t OpenAdaptor(AdaptorMode mode, int32_t camera)
{
    if (!LoadAdaptor(camera)) return ErrorAdaptorLibrary;
    const AdaptorCalls& calls = CallsOf(camera);
    const uint32_t device = DeviceOf(camera);
    if ((calls.init(device) & 0xFF) == 0) {
        FreeAdaptor(camera);
        return ErrorUsbOpen;
    }
    calls.open(device);
    calls.parInit(device, mode);
    calls.setTimeout(device, TransferTimeout);
    return ErrorNone;
}

void CloseAdaptor(int32_t camera)
{
    CallsOf(camera).close(DeviceOf(camera));
    FreeAdaptor(camera);
}

void AdaptorOut(const void* items, uint32_t count, int32_t camera)
{
    CallsOf(camera).parOut(DeviceOf(camera), items, count);
}

void AdaptorIn(void* items, uint32_t count, int32_t camera)
{
    CallsOf(camera).parIn(DeviceOf(camera), items, count);
}

void AdaptorSend(uint8_t* items, uint32_t count, int32_t camera)
{
    AdaptorOut(items, count, camera);
}

void AdaptorWriteBytes(const RegisterPair* pairs, uint32_t count, int32_t camera)
{
    SendRegisterBytes(pairs, count, AdaptorSend, camera);
}

// A pair is two items already.
void AdaptorWriteWords(const RegisterPair* pairs, uint32_t count, int32_t camera)
{
    AdaptorOut(pairs, 2 * count, camera);
}

uint16_t AdaptorReadByte(int32_t reg, int32_t camera)
{
    AdaptorWriteByte(0, reg | ReadFlag, camera);
    uint8_t value = 0;
    AdaptorIn(&value, 1, camera);
    return value;
}

void AdaptorWriteByte(int32_t reg, int32_t value, int32_t camera)
{
    const uint8_t pair[] = {static_cast<uint8_t>(reg), static_cast<uint8_t>(value)};
    AdaptorOut(pair, sizeof pair, camera);
}

void SelectAdaptorMemory(int32_t camera)
{
    CallsOf(camera).setMemoryAddress(DeviceOf(camera), MemoryDevice);
}

uint16_t ReadAdaptorWord(int32_t address, int32_t camera)
{
    const FetchCall fetch = CallsOf(camera).fetchByte;
    uint8_t bytes[2] = {};
    fetch(DeviceOf(camera), ByteAddress(address), &bytes[0]);
    fetch(DeviceOf(camera), ByteAddress(address) + 1, &bytes[1]);
    return static_cast<uint16_t>(bytes[1] << 8 | bytes[0]);
}

void WriteAdaptorWord(int32_t address, uint16_t value, int32_t camera)
{
    const StoreCall store = CallsOf(camera).storeByte;
    store(DeviceOf(camera), ByteAddress(address), static_cast<uint8_t>(value));
    store(DeviceOf(camera), ByteAddress(address) + 1, static_cast<uint8_t>(value >> 8));
}
