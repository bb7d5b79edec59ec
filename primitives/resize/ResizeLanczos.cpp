#include "primitives/resize/ResizeLanczos.h"

#include "primitives/core/Dispatch.h"
#include "primitives/resize/LanczosWeights.h"
#include "primitives/resize/ResizeSizing.h"
#include "primitives/resize/TapPlan.h"
#include "primitives/resize/TapRun.h"

namespace primitives {

namespace {

[[gnu::noinline]] IppStatus buildLanczosTables(IppiResizeSpec& plan, Ipp8u* initBuf) {
    ResizeTables tables(plan);
    const TapFractions fractions = fillTapAxes(plan, tables, initBuf);
    const std::uint32_t lobes = plan.tapsX;
    if (lobes != 2 && lobes != 3) {
        return ippStsNotSupportedModeErr;
    }
    if (plan.axisX.srcSize < 2 * lobes || plan.axisY.srcSize < 2 * lobes) {
        return ippStsSizeErr;
    }
    fillTapWeights(plan, tables, fractions, lobes == 2 ? &lanczosWeights<2> : &lanczosWeights<3>);
    return ippStsNoErr;
}

template <int variant>
struct ResizeLanczosInit {
    static IppStatus run(IppiSize srcSize, IppiSize dstSize, std::uint32_t numLobes, IppiResizeSpec* spec,
                         Ipp8u* initBuf) {
        if (!spec || !initBuf) {
            return ippStsNullPtrErr;
        }
        if (const IppStatus status = checkResizeSizes(srcSize, dstSize); status != ippStsNoErr) {
            return status;
        }
        IppiResizeSpec& plan = *resizePlan(spec);
        beginResizePlan(plan, srcSize, dstSize, ippLanczos, numLobes);
        IppStatus status = ippStsNoErr;
        buildFlushed<variant>([&] { status = buildLanczosTables(plan, initBuf); });
        return status;
    }
};

template <std::int32_t channels>
struct ResizeLanczos {
    template <int variant>
    struct Entry {
        static IppStatus run(const Ipp8u* src, std::int32_t srcStep, Ipp8u* dst, std::int32_t dstStep,
                             IppiPoint dstOffset, IppiSize dstSize, std::uint32_t border, const Ipp8u*,
                             const IppiResizeSpec* spec, Ipp8u* buffer) {
            const ResizeCall call{src, srcStep, dst, dstStep, dstOffset, dstSize, resizePlan(spec), buffer};
            if (const IppStatus status = checkResizeBorder(border); status != ippStsNoErr) {
                return status;
            }
            if (const IppStatus status = checkResizeCall(call, ippLanczos); status != ippStsNoErr) {
                return status;
            }
            const std::uint32_t lobes = call.plan->tapsX;
            if (lobes != 2 && lobes != 3) {
                return ippStsNotSupportedModeErr;
            }
            // What an Init function leaves behind that refused the source's size.
            if (!call.plan->axisX.coef32f) {
                return ippStsContextMatchErr;
            }
            const ResizeTile tile = makeResizeTile(call, border, channels);
            if (lobes == 2) {
                TapRun<variant, 4, channels>(tile, TapForm::lanczos2, false, buffer).run();
            } else {
                TapRun<variant, 6, channels>(tile, TapForm::lanczos3, false, buffer).run();
            }
            return resizeDoneStatus(call);
        }
    };
};

} // namespace

} // namespace primitives

using namespace primitives;

IppStatus ippiResizeLanczosInit_8u(IppiSize srcSize, IppiSize dstSize, uint32_t numLobes,
                                   IppiResizeSpec* spec, Ipp8u* initBuf) {
    return dispatch<ResizeLanczosInit>(srcSize, dstSize, numLobes, spec, initBuf);
}

IppStatus ippiResizeLanczos_8u_C1R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                   IppiPoint dstOffset, IppiSize dstSize, uint32_t border,
                                   const Ipp8u* borderValue, const IppiResizeSpec* spec, Ipp8u* buffer) {
    return dispatch<ResizeLanczos<1>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, border,
                                             borderValue, spec, buffer);
}

IppStatus ippiResizeLanczos_8u_C3R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                   IppiPoint dstOffset, IppiSize dstSize, uint32_t border,
                                   const Ipp8u* borderValue, const IppiResizeSpec* spec, Ipp8u* buffer) {
    return dispatch<ResizeLanczos<3>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, border,
                                             borderValue, spec, buffer);
}

IppStatus ippiResizeLanczos_8u_C4R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                   IppiPoint dstOffset, IppiSize dstSize, uint32_t border,
                                   const Ipp8u* borderValue, const IppiResizeSpec* spec, Ipp8u* buffer) {
    return dispatch<ResizeLanczos<4>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, border,
                                             borderValue, spec, buffer);
}
