// The Gaussian filter as its definition has it, for any record and any size: 32-bit sums along rows,
// single-precision sums down columns, each quotient clamped and truncated. Part of FilterGaussian.level.cpp.

namespace primitives::DORN_LEVEL_NAMESPACE {

using simd::VecF32;
using simd::VecI32;

constexpr ptrdiff_t kFloats = VecF32::lanes;

// How the work buffer is used.
struct FloatPlan {
    int16_t* ring; // kernel rows
    ptrdiff_t stride;
    uint8_t* padded;
    ptrdiff_t reach;
    VecF32 inverse; // of the divisor, exact
};

DORN_INLINE FloatPlan planFloats(const GaussianJob& job) {
    FloatPlan plan;
    plan.stride = roundUp(job.rowBytes, kFloats);
    plan.ring = reinterpret_cast<int16_t*>((reinterpret_cast<uintptr_t>(job.buffer) + 63) / 64 * 64);
    plan.padded = reinterpret_cast<uint8_t*>(plan.ring + job.kernel * plan.stride);
    plan.reach = job.radius * job.channels;
    plan.inverse = splat<VecF32>(1.0F / static_cast<float>(1U << job.scaleShift));
    __builtin_memset(plan.padded + job.rowBytes + 2 * plan.reach, 0, kFloats);
    return plan;
}

DORN_INLINE VecI32 quotient(const FloatPlan& plan, VecF32 sum, float low, float high) {
    return simd::truncateInt(simd::clamp(sum * plan.inverse, splat<VecF32>(low), splat<VecF32>(high)));
}

DORN_INLINE int16_t* ringRow(const GaussianJob& job, const FloatPlan& plan, ptrdiff_t index) {
    return plan.ring + index % job.kernel * plan.stride;
}

// Makes row `index` of the intermediate.
DORN_INLINE void makeRow(const GaussianJob& job, const FloatPlan& plan, ptrdiff_t index) {
    int16_t* to = ringRow(job, plan, index);
    const RowOrigin origin = rowOrigin(job, index);
    if (origin.kind == RowOrigin::copy) {
        __builtin_memcpy(to, ringRow(job, plan, origin.row), static_cast<size_t>(plan.stride) * sizeof *to);
        return;
    }
    if (origin.kind == RowOrigin::constant) {
        for (ptrdiff_t x = 0; x < plan.stride; ++x) {
            to[x] = job.borderValue[x % job.channels];
        }
        return;
    }
    padRow(job, job.src + origin.row * job.srcStep, -plan.reach, job.rowBytes + plan.reach, plan.padded);
    for (ptrdiff_t x = 0; x < plan.stride; x += kFloats) {
        VecI32 sum = simd::zero<VecI32>();
        for (ptrdiff_t tap = 0; tap < job.kernel; ++tap) {
            const VecI32 pixels = simd::loadPromote<VecI32>(plan.padded + x + tap * job.channels);
            sum += pixels * splat<VecI32>(job.taps[tap]);
        }
        simd::demoteStore(to + x, quotient(plan, simd::toFloat(sum), -32768.0F, 32767.0F));
    }
}

DORN_INLINE void makeOutput(const GaussianJob& job, const FloatPlan& plan, ptrdiff_t y) {
    uint8_t* to = job.dst + y * job.dstStep;
    for (ptrdiff_t x = 0; x < job.rowBytes; x += kFloats) {
        VecF32 sum = simd::zero<VecF32>();
        for (ptrdiff_t tap = 0; tap < job.kernel; ++tap) {
            const VecF32 row = simd::loadPromote<VecF32>(ringRow(job, plan, y + tap) + x);
            sum += row * splat<VecF32>(job.taps[tap]);
        }
        const ptrdiff_t count = smaller(kFloats, job.rowBytes - x);
        simd::demoteStoreN(to + x, quotient(plan, sum, 0.0F, 255.0F), static_cast<size_t>(count));
    }
}

static __attribute__((noinline)) void filterFloats(const GaussianJob& job) {
    const FloatPlan plan = planFloats(job);
    ptrdiff_t made = 0;
    for (ptrdiff_t y = 0; y < job.height; ++y) {
        for (; made < y + job.kernel; ++made) {
            makeRow(job, plan, made);
        }
        makeOutput(job, plan, y);
    }
}

} // namespace primitives::DORN_LEVEL_NAMESPACE
