// The same call by every variant of the primitives that this processor runs. Variants of one arithmetic have
// to agree in every byte with each other and, as far as the definition is exact, with the scalar reference of
// the tests, those of two in all but one level, and no variant may touch what it wasn't given.

#include "fuzz/Variants.h"
#include "primitives/convert/SwapRedBlue.h"
#include "primitives/filter/GaussianSpec.h"
#include "primitives/resize/ResizePlan.h"
#include "tests/primitives/BoxReference.h"
#include "tests/primitives/GaussianReference.h"
#include "tests/primitives/ResizeSuperReference.h"
#include "tests/primitives/ResizeTapsReference.h"
#include "tests/primitives/WarpReference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

namespace {

void box(Bytes& choice) {
    const IppiSize size = sizeOf(choice, 1), mask{choice.between(1, 40), choice.between(1, 40)};
    const std::uint32_t border = borderOf(choice);
    const Ipp8u value = choice.byte();
    const std::size_t offset = choice.below(64);
    const int padding = choice.between(0, 9);
    const Source source(
        choice, size, 1,
        marginsOf(border, (mask.width - 1) / 2, mask.width / 2, (mask.height - 1) / 2, mask.height / 2));
    compare(
        IPP_VARIANT_COUNT,
        [&]() -> Result {
            int bytes = 0;
            require(ippiFilterBoxBorderGetBufferSize(size, mask, ipp8u, 1, &bytes) == ippStsNoErr);
            Block buffer(bytes, offset);
            Target target(size, 1, padding, offset / 2);
            return target.result(ippiFilterBoxBorder_8u_C1R(source.first(), source.step(), target.data(),
                                                            target.step(), size, mask, border, &value,
                                                            buffer.data()));
        },
        [&](const Result& result, bool) {
            require(result.status == ippStsNoErr);
            checkSamples(result, size, 1, mask.width * mask.height, [&](int x, int y, int, int sample) {
                return sample ==
                       boxreference::mean(source.first(), source.step(), size, mask, {border, value}, x, y);
            });
        });
}

void gaussian(Bytes& choice) {
    const IppiSize size = sizeOf(choice, 1);
    const int channels = choice.flag() ? 3 : 1, reach = choice.between(1, 12);
    const auto kernel = static_cast<std::uint32_t>(2 * reach + 1);
    const float sigma = static_cast<float>(1 + choice.byte()) / 16;
    const std::uint32_t border = borderOf(choice);
    const Ipp8u values[] = {choice.byte(), 7, 250};
    const std::size_t offset = choice.below(64);
    const int padding = choice.between(0, 9);
    const Source source(choice, size, channels, marginsOf(border, reach, reach, reach, reach));
    GaussianReference reference{size.width, size.height, channels, {}, 0, border, {}};
    std::copy_n(values, 3, reference.value.begin());
    compare(
        IPP_VARIANT_COUNT,
        [&]() -> Result {
            int specBytes = 0, bytes = 0;
            require(ippiFilterGaussianGetBufferSize(size, kernel, ipp8u, channels, &specBytes, &bytes) ==
                    ippStsNoErr);
            Block spec(specBytes, offset), buffer(bytes, offset / 3);
            auto* const record = spec.as<IppFilterGaussianSpec>();
            Target target(size, channels, padding, offset / 2);
            require(ippiFilterGaussianInit(size, kernel, sigma, border, ipp8u, channels, record,
                                           buffer.data()) == ippStsNoErr);
            const auto* const taps =
                reinterpret_cast<const std::int16_t*>(primitives::gaussianTapsAddress(record));
            reference.taps.assign(taps, taps + kernel);
            std::memcpy(&reference.shift, spec.data() + offsetof(IppFilterGaussianSpec, scaleShift),
                        sizeof reference.shift);
            return target.result(
                channels == 1
                    ? ippiFilterGaussianBorder_8u_C1R(source.first(), source.step(), target.data(),
                                                      target.step(), size, values[0], record, buffer.data())
                    : ippiFilterGaussianBorder_8u_C3R(source.first(), source.step(), target.data(),
                                                      target.step(), size, values, record, buffer.data()));
        },
        [&](const Result& result, bool) {
            require(result.status == ippStsNoErr);
            const std::vector<std::uint8_t> expected = reference.filter(source.first(), source.step());
            checkSamples(result, size, channels, 1, [&](int x, int y, int channel, int sample) {
                return sample ==
                       expected[static_cast<std::size_t>((y * size.width + x) * channels + channel)];
            });
        });
}

void warp(Bytes& choice) {
    const IppiSize size = sizeOf(choice, 2), whole = sizeOf(choice, 1);
    const int channels = choice.flag() ? 3 : 1, direction = choice.between(0, 1);
    warp_reference::Coeffs coeffs{};
    if (choice.flag()) {
        double shift[2];
        const double angle = choice.byte() * 1.5, x = choice.byte(), y = choice.byte();
        require(ippiGetRotateShift(x, y, angle, &shift[0], &shift[1]) == ippStsNoErr);
        require(ippiGetRotateTransform(angle, shift[0], shift[1], coeffs.data()) == ippStsNoErr);
    } else {
        for (std::size_t i = 0; i < coeffs.size(); ++i) {
            coeffs[i] = (choice.byte() - 128) / (i % 3 == 2 ? 2.0 : 48.0);
        }
    }
    const std::uint32_t kinds[] = {ippBorderRepl, ippBorderConst, ippBorderTransp, ippBorderInMem};
    const std::uint32_t border = kinds[choice.below(4)];
    const bool isSparse = border != ippBorderRepl && border != ippBorderConst;
    const double values[4] = {300.0, choice.byte() + 0.5, -7.0, 1.0};
    const IppiPoint at{choice.between(0, whole.width - 1), choice.between(0, whole.height - 1)};
    const bool isTile = choice.flag();
    const IppiPoint place = isTile ? at : IppiPoint{0, 0};
    const IppiSize tile{whole.width - place.x, whole.height - place.y};
    const std::size_t offset = choice.below(64);
    const int padding = choice.between(0, 9);
    const Source source(choice, size, channels, {});
    compare(
        IPP_VARIANT_COUNT,
        [&]() -> Result {
            int specBytes = 0, initBytes = 0, bytes = 0;
            Target target(tile, channels, padding, offset / 2);
            IppStatus status = ippiWarpAffineGetSize(size, whole, ipp8u, coeffs.data(), ippLinear, direction,
                                                     border, &specBytes, &initBytes);
            if (status != ippStsNoErr) {
                return target.result(status);
            }
            Block spec(specBytes, offset);
            auto* const record = spec.as<IppiWarpSpec>();
            status =
                ippiWarpAffineLinearInit(size, whole, ipp8u, coeffs.data(), direction,
                                         static_cast<std::uint32_t>(channels), border, values, 0, record);
            if (status != ippStsNoErr) {
                return target.result(status);
            }
            require(ippiWarpGetBufferSize(record, tile, &bytes) == ippStsNoErr);
            Block buffer(bytes, offset / 3);
            const auto run = channels == 1 ? ippiWarpAffineLinear_8u_C1R : ippiWarpAffineLinear_8u_C3R;
            return target.result(run(source.first(), source.step(), target.data(), target.step(), place, tile,
                                     record, buffer.data()));
        },
        [&](const Result& result, bool) {
            if (std::fabs(coeffs[0] * coeffs[4] - coeffs[1] * coeffs[3]) <= 1e-6) {
                return; // whether that can be inverted at all is up to the rounding
            }
            require(result.status == ippStsNoErr || (isSparse && result.status == ippStsNoPixelsWrn));
            const warp_reference::Picture picture{
                size.width, size.height, [&](int x, int y, int channel) {
                    return int{source.first()[y * source.step() + x * channels + channel]};
                }};
            const warp_reference::Outside outside{
                border,
                {255, static_cast<int>(std::nearbyint(std::min(values[1], 255.0))), 0},
                GuardedBytes::kPattern};
            std::vector<std::array<double, 2>> positions;
            warp_reference::forPositions(direction == 0 ? warp_reference::inverse(coeffs) : coeffs, place.x,
                                         place.y, tile.width, tile.height, [&](int, int, double x, double y) {
                                             positions.push_back({x, y});
                                         });
            checkSamples(result, tile, channels, 32, [&](int x, int y, int channel, int sample) {
                const auto [atX, atY] = positions[static_cast<std::size_t>(y * tile.width + x)];
                const std::vector<int> allowed = warp_reference::allowed(picture, outside, atX, atY, channel);
                return std::find(allowed.begin(), allowed.end(), sample) != allowed.end();
            });
        });
}

struct Method {
    std::int32_t code;
    int lobes;  // source pixels to each side; 0 for means
    int second; // the first variant of the other arithmetic
};

// The arguments of a resize, and what its reference needs besides.
struct Resize {
    Method method;
    IppiSize src, dst;
    int channels;
    float b, c; // of the cubic kernel
    std::uint32_t border;
    IppiPoint place; // of the tile
    IppiSize tile;
    resize_reference::Axis axisX{src.width, dst.width};
    resize_reference::Axis axisY{src.height, dst.height};

    // Where the source of the tile begins.
    IppiPoint origin() const {
        if (method.code == ippSuper) {
            return {super_reference::Axis(src.width, dst.width).at(place.x, 0).index,
                    super_reference::Axis(src.height, dst.height).at(place.y, 0).index};
        }
        return {axisX.origin(place.x), axisY.origin(place.y)};
    }
};

// The weights of one axis, which have to be those of the reference.
std::vector<float> weightsOf(const Resize& call, const IppiResizeAxis& axis,
                             const resize_reference::Axis& expected) {
    const int taps = 2 * call.method.lobes;
    for (int d = 0; d < static_cast<int>(axis.dstSize); ++d) {
        const auto fraction = static_cast<float>(expected.fraction(d));
        const bool isCubic = call.method.code == ippCubic;
        const resize_reference::Weights weights =
            isCubic ? resize_reference::cubicWeights(fraction, call.b, call.c)
                    : resize_reference::lanczosWeights(fraction, call.method.lobes);
        require(axis.index[d] == expected.index(d));
        for (int tap = 0; tap < taps; ++tap) {
            const float weight = weights[static_cast<std::size_t>(tap)];
            require(std::fabs(axis.coef32f[d * taps + tap] - weight) <=
                    (isCubic ? 0.0F : resize_reference::lanczosSlack(weight, tap)));
        }
    }
    return {axis.coef32f, axis.coef32f + axis.dstSize * static_cast<std::uint32_t>(taps)};
}

void checkLinear(const Resize& call, const resize_reference::Source& source, const Result& result,
                 bool isFixed) {
    using namespace resize_reference;
    const auto reference = isFixed ? &linearSample<LinearFixed> : &linearSample<LinearFloat>;
    checkSamples(result, call.tile, call.channels, 8, [&](int x, int y, int channel, int sample) {
        return sample ==
               reference(source, call.axisX, call.axisY, call.place.x + x, call.place.y + y, channel);
    });
}

void checkTaps(const Resize& call, const resize_reference::Source& source,
               const std::vector<float> (&weights)[2], const Result& result, bool isFused) {
    using resize_reference::Order;
    const int lobes = call.method.lobes, taps = 2 * lobes;
    const Order order = !isFused                       ? Order::leftToRight
                        : call.method.code == ippCubic ? Order::fusedPairs
                                                       : Order::fused;
    checkSamples(result, call.tile, call.channels, taps * taps, [&](int x, int y, int channel, int sample) {
        const int column = call.place.x + x, row = call.place.y + y;
        return sample == resize_reference::tapSample(
                             source, call.axisX, call.axisY, weights[0].data() + column * taps,
                             weights[1].data() + row * taps, lobes, order, column, row, channel);
    });
}

void checkMeans(const Resize& call, const resize_reference::Source& source, const Result& result,
                bool isFused) {
    const super_reference::Axis axisX(call.src.width, call.dst.width),
        axisY(call.src.height, call.dst.height);
    checkSamples(result, call.tile, call.channels, axisX.n * axisY.n,
                 [&](int x, int y, int channel, int sample) {
                     return sample == super_reference::superSample(source, axisX, axisY, call.place.x + x,
                                                                   call.place.y + y, channel, isFused);
                 });
}

// Makes a plan in its block.
void makePlan(const Resize& call, IppiResizeSpec* plan, Ipp8u* initBuffer) {
    const auto lobes = static_cast<std::uint32_t>(call.method.lobes);
    const std::int32_t code = call.method.code;
    require((code == ippSuper    ? ippiResizeSuperInit_8u(call.src, call.dst, plan)
             : code == ippLinear ? ippiResizeLinearInit_8u(call.src, call.dst, plan)
             : code == ippCubic
                 ? ippiResizeCubicInit_8u(call.src, call.dst, call.b, call.c, plan, initBuffer)
                 : ippiResizeLanczosInit_8u(call.src, call.dst, lobes, plan, initBuffer)) == ippStsNoErr);
}

void resize(Bytes& choice) {
    const Method all[] = {
        {ippLinear, 1, 2}, {ippCubic, 2, 5}, {ippLanczos, 2, 5}, {ippLanczos, 3, 5}, {ippSuper, 0, 5}};
    const Method& method = all[choice.below(5)];
    const bool isSuper = method.code == ippSuper, isLinear = method.code == ippLinear;
    const IppiSize src = sizeOf(choice, isSuper ? 1 : 2 * method.lobes);
    const IppiSize asked = sizeOf(choice, 1);
    const IppiSize dst =
        isSuper ? IppiSize{1 + asked.width % src.width, 1 + asked.height % src.height} : asked;
    const int channelCounts[] = {1, 3, 4};
    const int index = choice.between(0, 2), channels = channelCounts[index];
    const float b = choice.byte() / 255.0F, c = choice.byte() / 255.0F;
    const std::uint32_t border = isSuper ? 1U : 1U | (choice.below(16) << 4);
    const bool isTile = choice.flag();
    const IppiPoint at{choice.between(0, dst.width - 1), choice.between(0, dst.height - 1)};
    const IppiPoint place = isTile ? at : IppiPoint{0, 0};
    const IppiSize tile{dst.width - place.x, dst.height - place.y};
    const Resize call{method, src, dst, channels, b, c, border, place, tile};
    const std::size_t offset = choice.below(64);
    const int padding = choice.between(0, 9), reach = method.lobes;
    const Source source(choice, src, channels, marginsOf(border, reach, reach, reach, reach));
    const Ipp8u* const from = source.first() + call.origin().y * source.step() + call.origin().x * channels;
    using Bordered = decltype(&ippiResizeLinear_8u_C1R);
    const Bordered linear[] = {ippiResizeLinear_8u_C1R, ippiResizeLinear_8u_C3R, ippiResizeLinear_8u_C4R};
    const Bordered cubic[] = {ippiResizeCubic_8u_C1R, ippiResizeCubic_8u_C3R, ippiResizeCubic_8u_C4R};
    const Bordered lanczos[] = {ippiResizeLanczos_8u_C1R, ippiResizeLanczos_8u_C3R, ippiResizeLanczos_8u_C4R};
    const decltype(&ippiResizeSuper_8u_C1R) super[] = {ippiResizeSuper_8u_C1R, ippiResizeSuper_8u_C3R,
                                                       ippiResizeSuper_8u_C4R};
    std::vector<float> weights[2];
    compare(
        method.second,
        [&]() -> Result {
            int specBytes = 0, initBytes = 0, bytes = 0;
            require(ippiResizeGetSize_8u(src, dst, method.code, 0, &specBytes, &initBytes) == ippStsNoErr);
            Block spec(specBytes, offset), init(initBytes, offset / 4);
            auto* const plan = spec.as<IppiResizeSpec>();
            makePlan(call, plan, init.data());
            if (!isSuper && !isLinear) {
                const IppiResizeSpec& record = *primitives::resizePlan(plan);
                weights[0] = weightsOf(call, record.axisX, call.axisX);
                weights[1] = weightsOf(call, record.axisY, call.axisY);
            }
            require(ippiResizeGetBufferSize_8u(plan, tile, static_cast<std::uint32_t>(channels), &bytes) ==
                    ippStsNoErr);
            Block buffer(bytes, offset / 3);
            Target target(tile, channels, padding, offset / 2);
            if (isSuper) {
                return target.result(super[index](from, source.step(), target.data(), target.step(), place,
                                                  tile, plan, buffer.data()));
            }
            const Bordered run = (isLinear ? linear : method.code == ippCubic ? cubic : lanczos)[index];
            return target.result(run(from, source.step(), target.data(), target.step(), place, tile, border,
                                     nullptr, plan, buffer.data()));
        },
        [&](const Result& result, bool isSecond) {
            require(result.status == ippStsNoErr);
            const resize_reference::Source picture{source.first(), source.step(), src.width,
                                                   src.height,     channels,      border};
            isSuper    ? checkMeans(call, picture, result, isSecond)
            : isLinear ? checkLinear(call, picture, result, isSecond)
                       : checkTaps(call, picture, weights, result, isSecond);
        });
}

void swap(Bytes& choice) {
    const IppiSize size{side(choice, 1), 1};
    const std::size_t offset = choice.below(64);
    const Source source(choice, size, 3, {});
    compare(
        IPP_VARIANT_COUNT,
        [&]() -> Result {
            Target target(size, 3, 0, offset);
            primitives::swapRedBlue(source.first(), target.data(), static_cast<std::size_t>(size.width));
            return target.result(ippStsNoErr);
        },
        [&](const Result& result, bool) {
            checkSamples(result, size, 3, 1, [&](int x, int, int channel, int sample) {
                return sample == source.first()[3 * x + 2 - channel];
            });
        });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ippInit();
    Bytes choice(data, size);
    void (*const families[])(Bytes&) = {resize, resize, box, gaussian, warp, swap};
    families[choice.below(6)](choice);
    return 0;
}
