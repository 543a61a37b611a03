#include "supervisor/link.h"

namespace {

enum WordKind : int32_t { StatusWord, CameraRegister, MemoryWord };

struct WordPlace {
    int32_t platform;
    WordKind kind;
    int32_t number;
};

constexpr int32_t VersionStatus = 15; // of the bus cameras
constexpr int32_t SpanWord = 1;       // of the calibration, where the version is told at open only

constexpr WordPlace WordPlaces[] = {
    {22, StatusWord, VersionStatus}, {23, StatusWord, VersionStatus},
    {24, StatusWord, VersionStatus}, {25, StatusWord, VersionStatus},
    {28, CameraRegister, 31},        {29, MemoryWord, SpanWord},
    {30, StatusWord, VersionStatus}, {40, StatusWord, VersionStatus},
    {41, StatusWord, VersionStatus}, {42, StatusWord, VersionStatus},
    {44, StatusWord, VersionStatus}, {47, StatusWord, VersionStatus},
    {48, CameraRegister, 34},        {60, StatusWord, VersionStatus},
    {61, CameraRegister, 15},        {70, CameraRegister, 22},
    {71, CameraRegister, 22},        {80, StatusWord, VersionStatus},
    {200, CameraRegister, 15},       {205, CameraRegister, 63},
    {300, MemoryWord, SpanWord},     {400, CameraRegister, 30},
    {450, MemoryWord, SpanWord},
};

uint32_t ReadWord(const WordPlace& place, int32_t camera)
{
    switch (place.kind) {
    case StatusWord: return Library.GetStatus(place.number, camera);
    case CameraRegister: return Library.RDReg(place.number, camera);
    default: return Library.ReadEP(place.number, camera);
    }
}

} // namespace

uint32_t ReadMark(const Slot& slot)
{
    for (const WordPlace& row : WordPlaces) {
        if (row.platform == slot.open.Config.Platform) return ReadWord(row, slot.camera) & 0xFF;
    }
    return 0;
}

bool LinkAnswers(const Slot& slot)
{
    return slot.mark == 0 || ReadMark(slot) == slot.mark;
}
