#include "primitives/resize/ResizePlan.h"

#include <numeric>

namespace primitives {

namespace {

IppiResizeAxis makeAxis(std::int32_t src, std::int32_t dst) {
    const std::int32_t divisor = std::gcd(src, dst);
    IppiResizeAxis axis{};
    axis.srcSize = static_cast<std::uint32_t>(src);
    axis.dstSize = static_cast<std::uint32_t>(dst);
    axis.srcReduced = static_cast<std::uint32_t>(src / divisor);
    axis.dstReduced = static_cast<std::uint32_t>(dst / divisor);
    return axis;
}

} // namespace

void beginResizePlan(IppiResizeSpec& plan, IppiSize srcSize, IppiSize dstSize, std::uint32_t interpolation,
                     std::uint32_t taps) {
    plan = IppiResizeSpec{};
    plan.magic = IPP_RESIZE_MAGIC;
    plan.tableType = ipp32f;
    plan.interpolation = interpolation;
    plan.tapsX = taps;
    plan.tapsY = taps;
    plan.borderTop = taps;
    plan.borderLeft = taps;
    plan.borderBottom = taps;
    plan.borderRight = taps;
    plan.axisY = makeAxis(srcSize.height, dstSize.height);
    plan.axisX = makeAxis(srcSize.width, dstSize.width);
}

} // namespace primitives
