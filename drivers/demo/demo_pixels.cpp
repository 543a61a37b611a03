// The pixels of the simulated camera: rows, blocks, and the formula.
#include "drivers/demo/demo_pixels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "core/convert.h"
#include "core/flags.h"
#include "drivers/demo/demo_blocks.h"

namespace {

constexpr uint16_t Bias = 100;

NoiseTables Tables;
int32_t ChosenPath = DemoPathFastest;

bool FillTables()
{
    for (int32_t r = 0; r < DrawValues; ++r) {
        Tables.logarithm[r] = std::log(1.0 - r / 32767.1);
        Tables.cosine[r] = std::cos(r * 0.00019175345 - 3.14);
        Tables.amplitude[r] = static_cast<float>(std::sqrt(-2.0 * Tables.logarithm[r]));
        Tables.direction[r] = static_cast<float>(Tables.cosine[r]);
    }
    return true;
}

const NoiseTables& FilledTables()
{
    static const bool filled = FillTables(); // once, whichever thread comes first
    static_cast<void>(filled);
    return Tables;
}

// One frame's constants.
struct FrameWork {
    const DemoFrame* frame;
    const NoiseTables* tables;
    const BlockKernels* kernels;
    const float* sums; // the accumulator of the current row
    float deviation;
    BlockBounds bounds;
    bool exact; // every pixel by the formula
};

// Pixels of one row from `column` on; `state` is the generator's before them.
struct Block {
    int64_t row, column;
    int32_t count;
    uint32_t state;
};

int64_t SourceSize(const DemoFrame& frame)
{
    return frame.source == nullptr ? 0 : static_cast<int64_t>(frame.columns) * frame.rows;
}

// The source's pixel by its row-major index; 0 outside.
uint16_t SourceValue(const DemoFrame& frame, int64_t index)
{
    return index >= 0 && index < SourceSize(frame) ? frame.source[index] : uint16_t{0};
}

// The index of the window's first column in a source row. Rows that lie far
// behind the source stay there.
int64_t SourceIndex(const DemoFrame& frame, int64_t row)
{
    return std::min(frame.y + row, int64_t{1} << 32) * frame.columns + frame.x;
}

// Where step `step` of a binned pixel looks, from the window's first column on.
// Cursor and step both advance: required.
int64_t StepOffset(const DemoFrame& frame, int64_t column, int64_t step)
{
    return column * frame.horBinning + 2 * step;
}

// Whether this step, and with it every further one, looks past the columns.
bool IsPastColumns(const DemoFrame& frame, int64_t column, int64_t step)
{
    return StepOffset(frame, column, step) >= frame.columns;
}

// Without vertical binning every step starts from the source again, so that
// only the last one counts.
int64_t FirstStep(const DemoFrame& frame)
{
    return frame.verBinning > 1 ? 0 : int64_t{frame.horBinning} - 1;
}

float StepValue(const FrameWork& work, int64_t row, int64_t column, int64_t step)
{
    const DemoFrame& frame = *work.frame;
    const int64_t offset = StepOffset(frame, column, step);
    if (frame.verBinning > 1) return offset < frame.columns ? work.sums[offset] : 0.0f;
    return static_cast<float>(SourceValue(frame, SourceIndex(frame, row) + offset));
}

double ExactNoise(const FrameWork& work, const Block& block, int32_t i)
{
    const uint32_t first = (block.state * 2 * Draws.firstMul[i] + Draws.firstTwiceAdd[i]) >> 17;
    const uint32_t second = (block.state * 2 * Draws.secondMul[i] + Draws.secondTwiceAdd[i]) >> 17;
    const double a = std::sqrt(-2.0 * work.frame->variance * work.tables->logarithm[first]);
    return a * work.tables->cosine[second] + 100.0;
}

uint16_t ExactDark(double noise)
{
    return std::isfinite(noise) ? static_cast<uint16_t>(ToInt32(noise)) : uint16_t{0};
}

uint16_t ExactLight(const FrameWork& work, int64_t row, int64_t column, double noise)
{
    const DemoFrame& frame = *work.frame;
    float p = 0.0f, before = 0.0f;
    for (int64_t step = FirstStep(frame); step < frame.horBinning; ++step) {
        const float earlier = before;
        before = p;
        p += StepValue(work, row, column, step);
        p = static_cast<float>(p * frame.scale);
        p = static_cast<float>(p + noise);
        if (p < 0.0f) p = 0.0f;
        if (p > 65535.0f) p = 65535.0f;
        // Past the last column all steps are one map. It is monotonic, so it ends
        // in one value or in two by turns.
        if (!IsPastColumns(frame, column, step - 1)) continue;
        if (std::isnan(p)) return 0;
        if (p == earlier) return ToUint16((frame.horBinning - step) % 2 != 0 ? p : before);
    }
    return ToUint16(p);
}

uint16_t ExactPixel(const FrameWork& work, const Block& block, int32_t i)
{
    const double noise = ExactNoise(work, block, i);
    return work.frame->light ? ExactLight(work, block.row, block.column + i, noise)
                             : ExactDark(noise);
}

void ExactBlock(const FrameWork& work, const Block& block, uint16_t* pixels)
{
    for (int32_t i = 0; i < block.count; ++i) pixels[i] = ExactPixel(work, block, i);
}

// Decides the pixels on which both ends do not agree.
void DecideBlock(const FrameWork& work, const Block& block, const uint16_t* others,
                 uint16_t* pixels)
{
    for (int32_t i = 0; i < block.count; ++i) {
        if (pixels[i] != others[i]) pixels[i] = ExactPixel(work, block, i);
    }
}

int32_t RoundedCount(const Block& block)
{
    return (block.count + BlockStep - 1) / BlockStep * BlockStep;
}

// The source pixels that a block without vertical binning looks at: in place
// where they are neighbours inside the source, else collected in `room`.
const uint16_t* BlockSource(const FrameWork& work, const Block& block, uint16_t* room)
{
    const DemoFrame& frame = *work.frame;
    const int64_t stride = frame.horBinning;
    const int64_t index =
        SourceIndex(frame, block.row) + StepOffset(frame, block.column, FirstStep(frame));
    if (index >= 0 && index + RoundedCount(block) * stride <= SourceSize(frame)) {
        const uint16_t* from = frame.source + index;
        if (stride == 1) return from;
        if (stride == 2) { // apart, since compilers know how
            // NOLINTNEXTLINE(bugprone-implicit-widening-of-multiplication-result)
            for (int32_t i = 0; i < RoundedCount(block); ++i) room[i] = from[i * 2];
            return room;
        }
        for (int32_t i = 0; i < RoundedCount(block); ++i) room[i] = from[i * stride];
    } else {
        for (int32_t i = 0; i < RoundedCount(block); ++i) {
            room[i] = SourceValue(frame, index + i * stride);
        }
    }
    return room;
}

uint32_t LightBlock(const FrameWork& work, const Block& block, const float* noise, uint16_t* pixels,
                    uint16_t* others)
{
    uint16_t room[BlockPixels];
    const uint16_t* source = BlockSource(work, block, room);
    return work.kernels->Light(source, noise, work.bounds, RoundedCount(block), pixels, others);
}

// The same for sums over lines and one step.
const float* BlockSums(const FrameWork& work, const Block& block, int64_t step, float* room)
{
    const int64_t stride = work.frame->horBinning;
    const int64_t offset = StepOffset(*work.frame, block.column, step);
    const int32_t count = RoundedCount(block);
    if (offset + count * stride <= work.frame->columns) {
        const float* from = work.sums + offset;
        if (stride == 1) return from;
        if (stride == 2) {
            // NOLINTNEXTLINE(bugprone-implicit-widening-of-multiplication-result)
            for (int32_t i = 0; i < count; ++i) room[i] = from[i * 2];
            return room;
        }
        for (int32_t i = 0; i < count; ++i) room[i] = from[i * stride];
    } else {
        for (int32_t i = 0; i < count; ++i) {
            room[i] = StepValue(work, block.row, block.column + i, step);
        }
    }
    return room;
}

// A further step of a block. False if no step behind it changes anything: past the
// last column all are one map of the ends, so one that leaves them is the last.
bool ExposeFurther(const FrameWork& work, const Block& block, int64_t step, const float* noise,
                   float* low, float* high)
{
    float room[BlockPixels], lowBefore[BlockPixels], highBefore[BlockPixels];
    const int32_t count = RoundedCount(block);
    const bool past = IsPastColumns(*work.frame, block.column, step);
    if (past) {
        std::copy(low, low + count, lowBefore);
        std::copy(high, high + count, highBefore);
    }
    const float* values = BlockSums(work, block, step, room);
    work.kernels->ExposeFurther(values, noise, work.bounds, count, low, high);
    return !past || !std::equal(low, low + count, lowBefore) ||
           !std::equal(high, high + count, highBefore);
}

// A light block with vertical binning.
uint32_t SummedBlock(const FrameWork& work, const Block& block, const float* noise,
                     uint16_t* pixels, uint16_t* others)
{
    const BlockKernels& kernels = *work.kernels;
    const int32_t count = RoundedCount(block);
    float room[BlockPixels], low[BlockPixels], high[BlockPixels];
    kernels.Expose(BlockSums(work, block, 0, room), noise, work.bounds, count, low, high);
    for (int64_t step = 1; step < work.frame->horBinning; ++step) {
        if (!ExposeFurther(work, block, step, noise, low, high)) break;
    }
    return kernels.Store(low, high, count, pixels, others);
}

// Nonzero if some pixels are still to be decided.
uint32_t ComputeBlock(const FrameWork& work, const Block& block, uint16_t* pixels, uint16_t* others)
{
    const int32_t count = RoundedCount(block);
    float noise[BlockPixels];
    work.kernels->Draw(*work.tables, block.state, work.deviation, count, noise);
    if (!work.frame->light) {
        return work.kernels->Dark(noise, work.bounds, count, pixels, others);
    }
    return work.frame->verBinning > 1 ? SummedBlock(work, block, noise, pixels, others)
                                      : LightBlock(work, block, noise, pixels, others);
}

void FillBlock(const FrameWork& work, const Block& block, uint16_t* pixels)
{
    if (work.exact) {
        ExactBlock(work, block, pixels);
        return;
    }
    uint16_t others[BlockPixels], room[BlockPixels];
    // The kernels write whole steps.
    uint16_t* target = block.count % BlockStep == 0 ? pixels : room;
    if (ComputeBlock(work, block, target, others) != 0) DecideBlock(work, block, others, target);
    if (target == room) std::copy(room, room + block.count, pixels);
}

// A run of pixels of one row; of a dark frame also of several.
void FillRun(const FrameWork& work, int64_t row, int64_t width, uint16_t* pixels, uint32_t* state)
{
    for (int64_t column = 0; column < width; column += BlockPixels) {
        const int64_t left = std::min<int64_t>(width - column, BlockPixels);
        const Block block = {row, column, static_cast<int32_t>(left), *state};
        FillBlock(work, block, pixels + column);
        *state = *state * Draws.secondMul[left - 1] + Draws.secondAdd[left - 1];
    }
}

// Sums the source lines of an output row, as far as its pixels look.
void SumRow(const FrameWork& work, int64_t row, int64_t width, float* sums)
{
    const DemoFrame& frame = *work.frame;
    const int64_t looked = StepOffset(frame, width - 1, int64_t{frame.horBinning} - 1) + 1;
    const int64_t columns = std::min<int64_t>(frame.columns, looked);
    const int64_t size = SourceSize(frame);
    const int64_t index = SourceIndex(frame, row * frame.verBinning);
    if (index >= 0 && index + (frame.verBinning - int64_t{1}) * frame.columns + columns <= size) {
        work.kernels->SumLines(frame.source + index, frame.columns, frame.verBinning,
                               static_cast<int32_t>(columns), sums);
        return;
    }
    std::fill(sums, sums + std::max<int64_t>(columns, 0), 0.0f);
    if (size <= 0) return;
    const int64_t before = std::max<int64_t>((-index - columns) / frame.columns, 0);
    for (int64_t line = before; line < frame.verBinning; ++line) {
        const int64_t start = index + line * frame.columns;
        if (start >= size) break; // so do all further lines
        for (int64_t k = std::max<int64_t>(-start, 0); k < std::min(columns, size - start); ++k) {
            sums[k] += static_cast<float>(frame.source[start + k]);
        }
    }
}

// Null if the processor cannot run the path.
const BlockKernels* PathKernels(int32_t path)
{
    switch (path) {
    case DemoPathPortable: return &PortableKernels;
    case DemoPathVector: return VectorKernels();
    default: return VectorKernels() != nullptr ? VectorKernels() : &PortableKernels;
    }
}

FrameWork StartWork(const DemoFrame& frame, const float* sums)
{
    FrameWork work = {};
    work.frame = &frame;
    work.tables = &FilledTables();
    work.kernels = PathKernels(LoadFlag(ChosenPath));
    work.sums = sums;
    work.exact = !(frame.variance >= 0.0 && frame.variance <= MaxVariance && frame.scale >= 0.0 &&
                   frame.scale <= MaxScale);
    if (work.exact) return work;
    const double deviation = std::sqrt(frame.variance);
    work.deviation = static_cast<float>(deviation);
    // A sample is at most 5.04 deviations. It is in error by 1.4e-6 of that, for
    // the cosine, and by eight roundings of 6e-8; 100 and the sum with it by one
    // each. A signal is rounded once, and so are the factor and the product here.
    const double margin = 1.5e-5 * deviation + 2e-5;
    work.bounds.low = static_cast<float>(100.0 - margin);
    work.bounds.high = static_cast<float>(100.0 + margin);
    work.bounds.scaleLow = static_cast<float>(frame.scale * (1.0 - 2.5e-7));
    work.bounds.scaleHigh = static_cast<float>(frame.scale * (1.0 + 2.5e-7));
    return work;
}

// Without exposure every pixel is the bias.
bool IsBiasOnly(const DemoFrame& frame)
{
    return frame.variance == 0.0 && (!frame.light || frame.scale == 0.0);
}

} // namespace

uint32_t DemoJump(uint32_t state, uint64_t draws)
{
    DrawStep step = StepAhead(1);
    for (; draws != 0; draws >>= 1) {
        if (draws & 1) state = state * step.mul + step.add;
        step.add = step.add * step.mul + step.add;
        step.mul *= step.mul;
    }
    return state;
}

void DemoRows(const DemoFrame& frame, int32_t firstRow, int32_t rowCount, int32_t width,
              uint16_t* pixels, uint32_t* state, float* accumulator)
{
    if (rowCount <= 0 || width <= 0) return;
    const int64_t all = static_cast<int64_t>(rowCount) * width;
    const bool unbinned = frame.light && frame.horBinning < 1;
    if (unbinned || IsBiasOnly(frame)) {
        if (!unbinned) std::fill(pixels, pixels + all, Bias);
        *state = DemoJump(*state, static_cast<uint64_t>(all) * 2);
        return;
    }
    const FrameWork work = StartWork(frame, accumulator);
    if (!frame.light) {
        FillRun(work, firstRow, all, pixels, state);
        return;
    }
    for (int64_t row = firstRow; row < static_cast<int64_t>(firstRow) + rowCount; ++row) {
        if (frame.verBinning > 1) SumRow(work, row, width, accumulator);
        FillRun(work, row, width, pixels, state);
        pixels += width;
    }
}

bool DemoPathAvailable(DemoPath path)
{
    return PathKernels(path) != nullptr;
}

void DemoChoosePath(DemoPath path)
{
    StoreFlag(&ChosenPath, path);
}
