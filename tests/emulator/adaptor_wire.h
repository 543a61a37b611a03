// A hand on the adaptor's library.
#pragma once
#include "tests/emulator/usb_wire.h"

class AdaptorWire : public VirtualWorld {
protected:
    using OneNumber = uint32_t (*)(uint32_t device);
    using TwoNumbers = uint32_t (*)(uint32_t device, uint32_t value);

    EmuUsbCamera setup{};
    int32_t camera = -1;
    uint32_t device = 0;
    void* library = nullptr;

    void Load() { library = System.library.Load("./qvn/kzbusb.so"); }

    void* Entry(const char* name) const { return System.library.Symbol(library, name); }

    uint32_t Call(const char* name) const
    {
        return reinterpret_cast<OneNumber>(Entry(name))(device);
    }

    uint32_t Call(const char* name, uint32_t value) const
    {
        return reinterpret_cast<TwoNumbers>(Entry(name))(device, value);
    }

    void Plug(uint32_t mode)
    {
        Load();
        ASSERT_NE(library, nullptr);
        camera = EmuPlugUsbCamera(setup);
        device = static_cast<uint32_t>(camera);
        ASSERT_EQ(Call("UsbInit"), 1u);
        ASSERT_EQ(Call("UsbOpen"), 1u);
        ASSERT_EQ(Call("UsbParInit", mode), 1u);
        ASSERT_EQ(Call("UsbSetTimeout", 65535), 1u);
    }

    template <typename Item> uint32_t Out(const std::vector<Item>& items) const
    {
        using Function = uint32_t (*)(uint32_t device, const void* buffer, uint32_t count);
        const auto function = reinterpret_cast<Function>(Entry("UsbParOut"));
        return function(device, items.data(), static_cast<uint32_t>(items.size()));
    }

    // What does not come stays 0xEE, or 0xEEEE.
    template <typename Item> std::vector<Item> In(uint32_t count) const
    {
        using Function = uint32_t (*)(uint32_t device, void* buffer, uint32_t count);
        std::vector<Item> items(count, static_cast<Item>(0xEEEE));
        reinterpret_cast<Function>(Entry("UsbParIn"))(device, items.data(), count);
        return items;
    }

    uint32_t ReadChip(uint32_t address, uint8_t* byte) const
    {
        using Function = uint32_t (*)(uint32_t device, uint32_t address, uint8_t * byte);
        return reinterpret_cast<Function>(Entry("UsbEEpReadByte"))(device, address, byte);
    }

    uint32_t WriteChip(uint32_t address, uint8_t byte) const
    {
        using Function = uint32_t (*)(uint32_t device, uint32_t address, uint8_t byte);
        return reinterpret_cast<Function>(Entry("UsbEEpWriteByte"))(device, address, byte);
    }
};
