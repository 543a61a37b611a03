#include "bench/geometry.h"

namespace {

constexpr int32_t TallestPicture = 65535; // lines, as the library counts them

bool IsWhole(const QvbWaveRequest& request)
{
    return request.Width == 0 && request.Height == 0;
}

} // namespace

bool IsValid(const QvbWaveRequest& request)
{
    if (request.Camera < 0 || request.Camera >= QV_CAMERAS) return false;
    if (request.HorBinning < 1 || request.VerBinning < 1) return false;
    if (IsWhole(request)) return request.X == 0 && request.Y == 0;
    return request.X >= 0 && request.Y >= 0 && request.Width >= 2 && request.Height >= 1 &&
           request.Height <= TallestPicture;
}

BenchWindow WindowOf(const QvbWaveRequest& request, const CcdDefinition& ccd)
{
    const bool whole = IsWhole(request);
    const int32_t width = whole ? ccd.Xpix / request.HorBinning : request.Width;
    const int32_t height = whole ? ccd.Ypix / request.VerBinning : request.Height;
    return {static_cast<uint32_t>(request.X), static_cast<uint32_t>(request.Y),
            static_cast<uint32_t>(width) & ~1u, static_cast<uint32_t>(height)};
}
