#include "tests/support/families.h"

#include "core/binding.h"
#include "tests/support/named_builders.h"

namespace {

int32_t OwnLink(int32_t platform)
{
    switch (platform) {
    case 40: return QV_INTERFACE_PRINTER_PORT;
    case 41: return QV_INTERFACE_PORT_CARD;
    case 70:
    case 71: return QV_INTERFACE_PCI_CARD_70;
    default: return QV_INTERFACE_PCI_CARD;
    }
}

} // namespace

VirtualSetup OnBus(const BusPlace& place)
{
    const int32_t usual = place.platform == 80 ? 2000 : 255;
    const int32_t sensor = place.sensor != 0 ? place.sensor : usual;
    VirtualSetup setup = {place.platform, sensor,        place.interfaceType, nullptr,
                          place.revision, place.decoder, place.interfaceLink};
    const BuilderRow* row = FindBuilder(place.platform, sensor, place.interfaceType);
    const NamedBuilder* builder = row != nullptr ? FindNamedBuilder(row->build) : nullptr;
    if (builder == nullptr) return setup;
    setup.builder = builder->name;
    setup.strobe = builder->strobe;
    return setup;
}

std::vector<VirtualSetup> OnTheirLinks(std::initializer_list<int32_t> platforms, uint32_t revision)
{
    std::vector<VirtualSetup> setups;
    for (const int32_t platform : platforms) {
        setups.push_back(OnBus({platform, OwnLink(platform), revision}));
    }
    return setups;
}
