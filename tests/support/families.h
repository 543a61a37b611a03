// A camera of each family, with the builder that the library chooses for it.
#pragma once
#include <initializer_list>
#include <vector>

#include "tests/support/virtual_camera.h"
#include "tests/support/virtual_usb.h"

// Where a bus camera is; otherwise it has sensor 255, or 2000 on platform 80.
struct BusPlace {
    int32_t platform;
    int32_t interfaceType = 2;
    uint32_t revision = 100;   // of the card; 200: whole frames
    uint32_t decoder = 0;      // of a serial cable
    int32_t interfaceLink = 0; // as the host says of the cable
    int32_t sensor = 0;
};

VirtualSetup OnBus(const BusPlace& place);

// Each on the link that is its own: 40 on a printer port, 41 on a port card, 70 and 71 on a
// card of theirs, the others on a card.
std::vector<VirtualSetup> OnTheirLinks(std::initializer_list<int32_t> platforms,
                                       uint32_t revision = 100);

// Every platform on USB.
inline constexpr UsbSetup UsbFamilies[] = {
    {28, 255, "BuildWaveTarn5"},
    {29, 260},
    {48, 255},
    {61, 255, "BuildWaveHeronPlus"},
    {200, 255, "BuildWaveOspreyKaf"},
    {205, 255, "BuildWaveOspreyPlusKaf"},
    {300, 255},
    {400, 3945},
    {450, 3945},
};

// As a part of a test's name.
template <typename Setup> std::string FamilyName(const testing::TestParamInfo<Setup>& info)
{
    return std::to_string(info.param.platform) + "_" + std::to_string(info.index);
}
