// The emulator's sensors ask for their light by column and row alone, so each camera number
// has a function of its own.
#include "bench/light.h"

#include <vector>

#include "bench/scene.h"
#include "emulator/link.h"
#include "emulator/star_field.h"

namespace {

constexpr uint32_t FlatLevel = 20000;

struct Light {
    LightArea area;
    SceneKind kind;
    uint32_t width, height; // of the pixels
    std::vector<uint16_t> pixels;
};
Light Lights[QV_CAMERAS];

uint32_t LightAt(const Light& light, uint32_t column, uint32_t row)
{
    const LightArea& area = light.area;
    if (row < area.darkAhead || row - area.darkAhead >= area.rows) return 0;
    row -= area.darkAhead;
    switch (light.kind) {
    case SceneKind::Flat: return FlatLevel;
    case SceneKind::Ramp: return column + row;
    case SceneKind::Dark: return 0;
    default: break;
    }
    if (light.pixels.empty()) return 0;
    return StretchedPixel({light.pixels.data(), light.width, light.height}, area.columns, area.rows,
                          column, row);
}

template <int32_t Camera> uint32_t LightOn(uint32_t column, uint32_t row)
{
    return LightAt(Lights[Camera], column, row);
}

EmuScene* const Eyes[QV_CAMERAS] = {LightOn<0>, LightOn<1>, LightOn<2>, LightOn<3>,
                                    LightOn<4>, LightOn<5>, LightOn<6>, LightOn<7>};

} // namespace

void SetLight(int32_t camera, const LightArea& area, const VirtualInstrument& instrument)
{
    Light light = {area, instrument.scene, area.columns, area.rows, {}};
    if (instrument.scene == SceneKind::Stars) {
        light.pixels.resize(size_t{area.columns} * area.rows);
        MakeStarField(light.pixels.data(), area.columns, area.rows, instrument.seed);
    }
    Lights[camera] = std::move(light);
}

void SetLight(int32_t camera, const QvbScene& scene)
{
    const size_t count = size_t{scene.Width} * scene.Height;
    std::vector<uint16_t> pixels(scene.Pixels, scene.Pixels + count);
    // A background thread may be reading the sensor.
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    Light& light = Lights[camera];
    light.kind = SceneKind::File;
    light.width = scene.Width;
    light.height = scene.Height;
    light.pixels.swap(pixels);
}

void ForgetLights()
{
    for (Light& light : Lights) light = {};
}

EmuScene* LightOf(int32_t camera)
{
    return Eyes[camera];
}
