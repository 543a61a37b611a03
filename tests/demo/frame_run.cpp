#include "tests/demo/frame_run.h"

#include <cstddef>
#include <limits>

#include "core/binding.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "drivers/demo/demo.h"
#include "emulator/emulator.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr int32_t Camera = 0;

int32_t GainIndexOf(double factor)
{
    const double factors[] = {1.0, 2.0, 5.0, 10.0, 20.0};
    for (int32_t i = 0; i < 5; ++i) {
        if (factors[i] == factor) return i;
    }
    ADD_FAILURE() << "no gain has the factor " << factor;
    return 0;
}

const char* PathName(DemoPath path)
{
    return path == DemoPathPortable ? "portable" : "vector";
}

} // namespace

void FrameTest::SetUp()
{
    ResetLibrary();
    CameraTable[Camera].PlatformCode = 1;
    StoreFlag(&CameraTable[Camera].Options, uint32_t{OptionExternalTrigger});
    BindOperations(1, 0, Camera);
}

void FrameTest::TearDown()
{
    DemoChoosePath(DemoPathFastest);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    ResetLibrary();
}

FrameResult DriverFrame(const PlainDemoInputs& inputs, int32_t width, int32_t height,
                        uint32_t state)
{
    CameraRecord& record = CameraTable[Camera];
    std::vector<uint16_t> image = inputs.image;
    DemoImage[Camera] = {image.data(), inputs.xpix, inputs.ypix};
    record.ExposureTime = inputs.exposure;
    record.GainIndex = GainIndexOf(inputs.gainFactor);
    record.CurrentTemperature = inputs.temperature;
    record.HorBinning = inputs.horBinning;
    record.VerBinning = inputs.verBinning;
    record.WindowBuilt = 1;
    record.BuiltWindowX = inputs.originX;
    record.BuiltWindowY = inputs.originY;
    DemoGenerator = state;
    // Behind the frame's pixels stands one that must survive.
    FrameResult result;
    result.pixels.assign(static_cast<size_t>(width) * static_cast<size_t>(height) + 1, Untouched);
    EXPECT_EQ(record.Ops.ReadFrame(inputs.light, width, height, result.pixels.data(), Camera), 0);
    EXPECT_EQ(result.pixels.back(), Untouched);
    result.pixels.pop_back();
    result.state = DemoGenerator;
    DemoImage[Camera] = {};
    EXPECT_EQ(image, inputs.image);
    return result;
}

FrameResult PlainFrame(const PlainDemoInputs& inputs, int32_t width, int32_t height, uint32_t state)
{
    FrameResult result;
    result.pixels.assign(static_cast<size_t>(width) * static_cast<size_t>(height), Untouched);
    PlainDemoFrame(inputs, width, height, result.pixels.data(), &state);
    result.state = state;
    return result;
}

void ExpectPlainFrame(const PlainDemoInputs& inputs, int32_t width, int32_t height, uint32_t state)
{
    const FrameResult plain = PlainFrame(inputs, width, height, state);
    for (DemoPath path : {DemoPathPortable, DemoPathVector}) {
        if (!DemoPathAvailable(path)) continue;
        DemoChoosePath(path);
        const FrameResult fast = DriverFrame(inputs, width, height, state);
        EXPECT_EQ(fast.state, plain.state);
        size_t at = 0;
        while (at < plain.pixels.size() && fast.pixels[at] == plain.pixels[at]) ++at;
        if (at == plain.pixels.size()) continue;
        const size_t columns = static_cast<size_t>(width);
        ADD_FAILURE() << PathName(path) << (inputs.light ? ", light " : ", dark ") << width << " x "
                      << height << " at " << inputs.originX << ", " << inputs.originY
                      << ", binning " << inputs.horBinning << " x " << inputs.verBinning
                      << ", exposure " << inputs.exposure << ", gain " << inputs.gainFactor
                      << ", temperature " << inputs.temperature << ": column " << at % columns
                      << " row " << at / columns << " is " << fast.pixels[at] << ", not "
                      << plain.pixels[at];
    }
}

std::vector<uint16_t> RandomImage(int32_t columns, int32_t rows)
{
    std::vector<uint16_t> image(static_cast<size_t>(columns) * static_cast<size_t>(rows));
    uint32_t state = 4711;
    for (uint16_t& pixel : image) {
        const uint32_t draw = DemoRandom(&state);
        pixel = static_cast<uint16_t>(draw % 11 == 0   ? 0
                                      : draw % 11 == 1 ? 65535
                                                       : draw * 2 + DemoRandom(&state) % 2);
    }
    return image;
}

PlainDemoInputs NoiselessInputs(const std::vector<uint16_t>& image, int32_t columns, int32_t rows,
                                double exposure)
{
    PlainDemoInputs inputs;
    inputs.image = image;
    inputs.xpix = columns;
    inputs.ypix = rows;
    inputs.exposure = exposure;
    inputs.temperature = -std::numeric_limits<double>::infinity();
    inputs.light = true;
    return inputs;
}
