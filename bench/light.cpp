// The emulator's sensors ask for their light by column and row alone, so each of them has a
// function of its own.
#include "bench/light.h"

#include <array>
#include <utility>
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

constexpr size_t Heads = 8, Eyes = QV_CAMERAS * Heads;
Light Lights[Eyes];

Light& LightFor(const Eye& eye)
{
    return Lights[static_cast<size_t>(eye.camera) * Heads + static_cast<size_t>(eye.head)];
}

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

template <size_t Index> uint32_t LightOn(uint32_t column, uint32_t row)
{
    return LightAt(Lights[Index], column, row);
}

template <size_t... Indices>
constexpr std::array<EmuScene*, Eyes> AllEyes(std::index_sequence<Indices...>)
{
    return {LightOn<Indices>...};
}

} // namespace

void SetLight(const Eye& eye, const LightArea& area, const VirtualInstrument& instrument)
{
    const SceneKind kind = SceneOf(instrument, eye.head).kind;
    Light light = {area, kind, area.columns, area.rows, {}};
    if (kind == SceneKind::Stars) {
        light.pixels.resize(size_t{area.columns} * area.rows);
        MakeStarField(light.pixels.data(), area.columns, area.rows,
                      instrument.seed + static_cast<uint32_t>(eye.head));
    }
    LightFor(eye) = std::move(light);
}

void SetLight(const Eye& eye, const QvbScene& scene)
{
    const size_t count = size_t{scene.Width} * scene.Height;
    std::vector<uint16_t> pixels(scene.Pixels, scene.Pixels + count);
    // A background thread may be reading the sensor.
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    Light& light = LightFor(eye);
    light.kind = SceneKind::File;
    light.width = scene.Width;
    light.height = scene.Height;
    light.pixels.swap(pixels);
}

void ForgetLights()
{
    for (Light& light : Lights) light = {};
}

EmuScene* LightOf(const Eye& eye)
{
    static constexpr std::array<EmuScene*, Eyes> All = AllEyes(std::make_index_sequence<Eyes>());
    return All[static_cast<size_t>(eye.camera) * Heads + static_cast<size_t>(eye.head)];
}
