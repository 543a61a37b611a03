// The sensors: their codes, names and makers, and which of them each platform
// carries.
#include "catalogue/catalogue.h"

#include <iterator>

// Family 5 exists and has no text.
const FamilyName FamilyNames[FamilyNameCount] = {
    {0, "EEV"},   {10, "Philips"}, {20, "Kodak"}, {25, "LMF"},     {30, "SiTe"},
    {33, "SONY"}, {35, "SU"},      {40, "Texas"}, {50, "Thomson"}, {60, "Andanta"},
};

// clang-format off
const SensorName SensorNames[SensorNameCount] = {
    // code  name           family
    {  120, "ccd30-11",      0 },
    {  121, "ccd39-02",      0 },
    {  122, "ccd42-10",      0 },
    {  123, "ccd42-40",      0 },
    {  124, "ccd42-80",      0 },
    {  125, "ccd47-10",      0 },
    {  126, "ccd42-90",      0 },
    {  127, "ccd44-82",      0 },
    {  128, "ccd47-20",      0 },
    {  129, "ccd55-30",      0 },
    {  130, "ccd57-10",      0 },
    {  131, "ccd62-06",      0 },
    {  132, "ccd77-00",      0 },
    {  133, "ccd30-11b",     0 },
    {  134, "ccd55-20",      0 },
    {  135, "ccd30-11d",     0 },

    { 4000, "s10420-1106",   5 },
    { 4100, "s9037-0902",    5 },
    { 4101, "s9037-0902b",   5 },

    {  195, "ft18",         10 },
    {  200, "ftt1010",      10 },
    {  210, "ftf3020",      10 },

    {  250, "kaf0260",      20 },
    {  255, "kaf400e",      20 },
    {  260, "kaf1000",      20 },
    {  265, "kaf1300",      20 },
    {  270, "kaf1400",      20 },
    {  275, "kaf1600",      20 },
    {  279, "kaf3200",      20 },
    {  280, "kaf4201",      20 },
    {  281, "kaf4300",      20 },
    {  282, "kaf5100",      20 },
    {  283, "kaf6302ce",    20 },
    {  285, "kaf6303",      20 },
    {  286, "kaf8300",      20 },
    {  287, "kaf9000",      20 },
    {  290, "kaf16800",     20 },
    {  295, "kaf16800ce",   20 },
    { 3000, "kac0310",      20 },
    { 3001, "kac1310",      20 },
    { 3800, "kai0340",      20 },
    { 3805, "kai1003",      20 },
    { 3810, "kai1010",      20 },
    { 3815, "kai1020",      20 },
    { 3820, "kai2001",      20 },
    { 3825, "kai2020",      20 },
    { 3830, "kai2093",      20 },
    { 3835, "kai4010",      20 },
    { 3840, "kai4020",      20 },
    { 3945, "kai01050",     20 },
    { 3946, "kai01150",     20 },
    { 3947, "kai02050",     20 },
    { 3948, "kai02150",     20 },
    { 3960, "kai02170",     20 },
    { 3962, "kai04050",     20 },
    { 3964, "kai04070",     20 },
    { 3968, "kai08050",     20 },
    { 3980, "kai16050",     20 },
    { 3985, "kai16070",     20 },
    { 3990, "kai29050",     20 },

    { 2000, "ccd442",       25 },
    { 2001, "ccd447",       25 },
    { 2005, "ccd485",       25 },
    { 2006, "ccd486",       25 },
    { 2007, "ccd595",       25 },

    {  300, "sta001a",      30 },
    {  305, "sta003a",      30 },
    {  306, "si424",        30 },
    {  310, "sia502a",      30 },

    { 3500, "icx074al",     33 },
    { 3510, "icx074ak",     33 },
    { 3520, "icx085al",     33 },
    { 3530, "icx085ak",     33 },
    { 3540, "icx098bl",     33 },
    { 3550, "icx098bq",     33 },
    { 3560, "icx204al",     33 },
    { 3570, "icx204ak",     33 },
    { 3580, "icx205al",     33 },
    { 3590, "icx205ak",     33 },
    { 3600, "icx274al",     33 },
    { 3610, "icx274ak",     33 },
    { 3620, "icx285al",     33 },
    { 3630, "icx285aq",     33 },
    { 3640, "icx424al",     33 },
    { 3650, "icx424aq",     33 },

    {  500, "su128",        35 },
    {  505, "su320",        35 },
    {  506, "su512",        35 },

    { 1000, "tc237",        40 },
    { 1001, "tc213",        40 },
    { 1002, "tc215",        40 },
    { 1005, "tc241",        40 },
    { 1010, "tc245",        40 },
    { 1011, "tc253",        40 },
    { 1015, "tc255",        40 },
    { 1016, "tc281",        40 },

    {  400, "th7887",       50 },
    {  405, "th7888",       50 },
    {  410, "th7889",       50 },

    { 5000, "fpa640x512",   60 },
};

namespace {

constexpr int32_t Demo[] = {
    120, 133, 121, 122, 123, 124, 126, 127, 125, 128, 134, 129, 130, 131, 132, 195, 200, 210,
    250, 255, 260, 265, 270, 275, 279, 280, 281, 282, 283, 285, 286, 287, 290, 295, 300, 305,
    306, 310, 400, 405, 410, 500, 505, 506, 1001, 1002, 1000, 1005, 1010, 1011, 1015, 1016,
    2000, 2001, 2005, 2006, 2007, 3000, 3001, 3800, 3805, 3810, 3815, 3820, 3825, 3830, 3835,
    3840,
};
constexpr int32_t Tarn1[] = {255};
constexpr int32_t Tarn2[] = {250, 255, 275, 300, 310};
constexpr int32_t Tarn3[] = {250, 255, 260, 270, 275, 310, 300, 305};
constexpr int32_t Tarn4[] = {
    120, 133, 121, 122, 125, 128, 250, 255, 260, 270, 275, 300, 305, 310, 2000,
};
constexpr int32_t Tarn4Plus[] = {125, 128, 123, 250, 255, 260, 270, 275, 279, 285, 290};
constexpr int32_t Tarn5[] = {
    120, 133, 121, 122, 123, 124, 126, 127, 125, 128, 129, 130, 131, 132, 195, 200, 210, 250,
    255, 260, 265, 270, 275, 279, 280, 281, 282, 283, 285, 290, 295, 300, 305, 306, 310, 400,
    405, 410, 500, 505, 506, 2000, 2001, 2005, 2006, 2007,
};
constexpr int32_t TarnU[] = {260, 281, 285, 4100, 4101, 133};
constexpr int32_t Larch[] = {123, 250, 255, 260, 270, 275, 281, 500, 506};
constexpr int32_t Briar[] = {250, 255, 275};
constexpr int32_t R3[] = {250, 255, 275, 279, 282, 283, 285};
constexpr int32_t R4[] = {250, 255, 275, 279, 285, 286};
constexpr int32_t Mob[] = {1015, 1010, 1005};
constexpr int32_t Heron[] = {250, 255, 275, 279};
constexpr int32_t Unod[] = {255, 275};
constexpr int32_t Unod2[] = {255, 275, 279, 282, 283, 285};
constexpr int32_t Sep[] = {2000, 2001, 2005};
constexpr int32_t Thistle[] = {3000, 3001};
constexpr int32_t Fennel[] = {
    3500, 3510, 3520, 3530, 3540, 3550, 3560, 3570, 3580, 3590, 3600, 3610, 3620, 3630, 3640,
    3650,
};
constexpr int32_t Osprey[] = {
    250, 255, 260, 270, 275, 279, 280, 282, 283, 285, 120, 133, 125, 132, 3800, 3805, 3810,
    3815, 3820, 3825, 3830, 3835, 3840,
};
constexpr int32_t OspreyPlus[] = {
    120, 133, 135, 125, 134, 255, 260, 275, 279, 281, 286, 287, 290,
};
constexpr int32_t Wren[] = {250, 255, 275, 279, 125, 4000, 3945, 3947, 3980, 5000};
constexpr int32_t Tolm[] = {
    3945, 3946, 3947, 3948, 3960, 3962, 3964, 3968, 3980, 3985, 3990,
};

} // namespace

// The first two columns are the first and the last platform of a row. 45 and 46 have no name
// and no driver, yet their row answers for them: required.
const PlatformSensors SensorLists[] = {
    {  1,   1, Demo,       std::size(Demo)},
    { 10,  10, Tarn1,      std::size(Tarn1)},
    { 20,  20, Tarn2,      std::size(Tarn2)},
    { 22,  23, Tarn3,      std::size(Tarn3)},
    { 24,  24, Tarn4,      std::size(Tarn4)},
    { 25,  25, Tarn4Plus,  std::size(Tarn4Plus)},
    { 28,  28, Tarn5,      std::size(Tarn5)},
    { 29,  29, TarnU,      std::size(TarnU)},
    { 30,  30, Larch,      std::size(Larch)},
    { 40,  43, Briar,      std::size(Briar)},
    { 44,  47, R3,         std::size(R3)},
    { 48,  48, R4,         std::size(R4)},
    { 50,  50, Mob,        std::size(Mob)},
    { 60,  61, Heron,      std::size(Heron)},
    { 70,  70, Unod,       std::size(Unod)},
    { 71,  71, Unod2,      std::size(Unod2)},
    { 80,  80, Sep,        std::size(Sep)},
    { 90,  90, Thistle,    std::size(Thistle)},
    {100, 100, Fennel,     std::size(Fennel)},
    {200, 200, Osprey,     std::size(Osprey)},
    {205, 205, OspreyPlus, std::size(OspreyPlus)},
    {300, 300, Wren,       std::size(Wren)},
    {400, 400, Tolm,       std::size(Tolm)},
    {450, 450, Tolm,       std::size(Tolm)},
    {},
};
// clang-format on
