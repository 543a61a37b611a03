// The interface card as the kernel driver's callers reach it: records by their byte
// offsets, registers by theirs in the window.
#pragma once
#include <cstring>
#include <vector>

#include "tests/emulator/scripted_far_end.h"

using Record = std::vector<uint8_t>;

inline uint32_t Word(const Record& record, size_t offset)
{
    uint32_t value;
    memcpy(&value, record.data() + offset, 4);
    return value;
}

inline void SetWord(Record* record, size_t offset, uint32_t value)
{
    memcpy(record->data() + offset, &value, 4);
}

class CardWire : public ScriptedFarEnd {
protected:
    uint64_t device = 0;
    uint64_t base = 0;

    static uint64_t OpenDevice() { return System.device.Open("\\\\.\\WINDRVR6"); }

    int32_t Call(uint32_t code, Record* record) const
    {
        return System.device.Control(device, code, record->data(),
                                     static_cast<uint32_t>(record->size()));
    }

    Record Scan(uint32_t id) const
    {
        Record scan(2012);
        SetWord(&scan, 0, 0x11E3);
        SetWord(&scan, 4, id);
        EXPECT_EQ(Call(0x9538243B, &scan), 0);
        return scan;
    }

    // Of the `index`-th card that a scan found.
    Record Info(const Record& scan, size_t index) const
    {
        Record info(816);
        memcpy(info.data(), scan.data() + 812 + 12 * index, 12);
        EXPECT_EQ(Call(0x9538243F, &info), 0);
        return info;
    }

    Record Register(const Record& info) const
    {
        Record card(948);
        memcpy(card.data(), info.data() + 12, 804);
        EXPECT_EQ(Call(0x95382673, &card), 0);
        return card;
    }

    // The user address of the first item of type 2, 0 without one.
    static uint32_t Window(const Record& card)
    {
        for (uint32_t i = 0; i < Word(card, 0); ++i) {
            if (Word(card, 4 + 40 * i) == 2) return Word(card, 4 + 40 * i + 28);
        }
        return 0;
    }

    void Open(uint32_t id = 2001)
    {
        device = OpenDevice();
        const Record card = Register(Info(Scan(id), 0));
        EXPECT_NE(Word(card, 808), 0u);
        base = Window(card);
    }

    Record Lock(uint32_t bytes, uint32_t options, void* memory, uint32_t pages = 0) const
    {
        Record lock(2088 + (pages > 256 ? 8 * (pages - 256) : 0));
        const auto address = reinterpret_cast<uint64_t>(memory);
        memcpy(lock.data() + 8, &address, 8);
        SetWord(&lock, 20, bytes);
        SetWord(&lock, 24, options);
        SetWord(&lock, 28, pages);
        EXPECT_EQ(Call(0x95382407, &lock), 0);
        return lock;
    }

    static uint8_t* Memory(const Record& lock)
    {
        uint64_t address;
        memcpy(&address, lock.data() + 8, 8);
        return reinterpret_cast<uint8_t*>(address);
    }

    void Control(uint32_t value) const { System.registers.Write(base + 276, value); }
    uint32_t Control() const { return System.registers.Read(base + 276); }
    void Data(uint32_t value) const { System.registers.Write(base + 272, value); }
    uint32_t Data() const { return System.registers.Read(base + 272); }
    void Channel(uint32_t value) const { System.registers.Write(base + 284, value); }
    void Count(uint32_t value) const { System.registers.Write(base + 256, value); }
    uint32_t Count() const { return System.registers.Read(base + 256); }

    void StartDma(uint32_t physical, uint32_t words) const
    {
        System.registers.Write(base + 260, physical / 4);
        Count(words);
        System.registers.Write(base + 268, 0x80000100);
    }

    void ResetLink() const
    {
        const uint32_t control = Control() & ~4u;
        Control(control | 0x40012);
        Control(control | 0x1A);
    }

    void Address(uint16_t address) const
    {
        const uint32_t control = (Control() & ~2u) | 4;
        Data(address);
        Control(control);
    }
};
