// The same call by every variant of the primitives that this processor runs. Variants of one arithmetic have
// to agree in every byte, those of two in all but one level, and no variant may touch what it wasn't given.

#include "fuzz/Bytes.h"
#include "primitives/convert/SwapRedBlue.h"
#include "primitives/primitives.h"
#include "tests/primitives/GuardedBuffer.h"

#include <cstring>
#include <numeric>
#include <vector>

namespace {

// What a call gave: all bytes of the destination, written or not.
struct Result {
    IppStatus status;
    std::vector<Ipp8u> bytes;
};

bool isNear(const Result& one, const Result& other, int tolerance) {
    bool near = one.status == other.status && one.bytes.size() == other.bytes.size();
    for (std::size_t i = 0; near && i < one.bytes.size(); ++i) {
        near = std::abs(one.bytes[i] - other.bytes[i]) <= tolerance;
    }
    return near;
}

// Runs `call` once per variant. From variant `second` on there is another arithmetic.
template <typename Call>
void compare(int second, Call call) {
    std::vector<Result> first[2];
    for (int variant = 0; variant < IPP_VARIANT_COUNT; ++variant) {
        if (ippIsVariantBuilt(variant) != 0 && ippIsVariantRunnable(variant) != 0) {
            require(ippSetCpuFeatures(ippGetVariantFeatures(variant) | IPP_FEATURE_FORCE) == ippStsNoErr);
            require(ippProbeVariant() == variant);
            std::vector<Result>& known = first[variant < second ? 0 : 1];
            known.push_back(call());
            require(isNear(known.front(), known.back(), 0));
        }
    }
    require(first[0].empty() || first[1].empty() || isNear(first[0].front(), first[1].front(), 1));
}

int side(Bytes& choice, int least) {
    const int most[] = {3, 20, 70, 70, 300};
    return least + choice.between(0, most[choice.below(5)]);
}

IppiSize sizeOf(Bytes& choice, int least) {
    const int width = side(choice, least);
    return {width, least + choice.between(0, 40)};
}

// Pixels beyond the edges of an image.
struct Margins {
    int left = 0, top = 0, right = 0, bottom = 0;
};

Margins marginsOf(std::uint32_t border, int before, int behindX, int beforeY, int behindY) {
    const auto has = [&](std::uint32_t flag, int size) { return (border & flag) != 0 ? size : 0; };
    return {has(ippBorderInMemLeft, before), has(ippBorderInMemTop, beforeY),
            has(ippBorderInMemRight, behindX), has(ippBorderInMemBottom, behindY)};
}

// One of the kinds, or all in memory, with flags.
std::uint32_t borderOf(Bytes& choice) {
    const std::uint32_t kinds[] = {ippBorderRepl, ippBorderMirror, ippBorderConst};
    const std::uint32_t kind = kinds[choice.below(3)];
    const std::uint32_t flags = choice.below(17) << 4;
    return flags > 0xF0 ? std::uint32_t{ippBorderInMem} : kind | flags;
}

// An image in memory that can't be left on either side nor be written.
class Source {
public:
    Source(Bytes& choice, IppiSize size, int channels, const Margins& margins)
        : rowBytes_((margins.left + size.width + margins.right) * channels),
          step_(rowBytes_ + choice.between(0, 3) * 5), rows_(margins.top + size.height + margins.bottom),
          bytes_(static_cast<std::size_t>((rows_ - 1) * step_ + rowBytes_)),
          pages_(bytes_, choice.flag() ? GuardedPages::atStart : GuardedPages::atEnd) {
        const bool isExtreme = choice.flag();
        std::uint32_t random = choice.byte();
        for (std::size_t i = 0; i < bytes_; ++i) {
            random = random * 1664525U + 1013904223U;
            const auto noise = static_cast<Ipp8u>(random >> 24);
            pages_.data()[i] = choice.empty() ? noise : choice.byte();
            if (isExtreme) {
                pages_.data()[i] = pages_.data()[i] < 128 ? 0 : 255;
            }
        }
        pages_.makeReadOnly();
        first_ = pages_.data() + margins.top * step_ + margins.left * channels;
    }

    const Ipp8u* first() const { return first_; }
    int step() const { return step_; }

private:
    int rowBytes_;
    int step_;
    int rows_;
    std::size_t bytes_;
    GuardedPages pages_;
    const Ipp8u* first_ = nullptr;
};

// A destination whose gaps between rows stay as they are.
class Target {
public:
    Target(IppiSize size, int channels, int padding, std::size_t offset)
        : rowBytes_(static_cast<std::size_t>(size.width * channels)),
          step_(rowBytes_ + static_cast<std::size_t>(padding)),
          bytes_(step_ * static_cast<std::size_t>(size.height)), block_(bytes_, offset) {}

    Ipp8u* data() { return block_.data(); }
    int step() const { return static_cast<int>(step_); }
    Result result(IppStatus status) {
        require(block_.intact());
        for (std::size_t at = 0; at < bytes_; at += step_) {
            require(block_.untouched(at + rowBytes_, at + step_));
        }
        return {status, {data(), data() + bytes_}};
    }

private:
    std::size_t rowBytes_;
    std::size_t step_;
    std::size_t bytes_;
    GuardedBytes block_;
};

// Work memory of a size that a primitive reported.
class Block {
public:
    Block(int size, std::size_t offset) : block_(static_cast<std::size_t>(size), offset) {
        require(size >= 0);
    }
    ~Block() { require(block_.intact()); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    Ipp8u* data() { return block_.data(); }
    template <typename Record>
    Record* as() {
        return reinterpret_cast<Record*>(data());
    }

private:
    GuardedBytes block_;
};

void box(Bytes& choice) {
    const IppiSize size = sizeOf(choice, 1), mask{choice.between(1, 40), choice.between(1, 40)};
    const std::uint32_t border = borderOf(choice);
    const Ipp8u value = choice.byte();
    const std::size_t offset = choice.below(64);
    const int padding = choice.between(0, 9);
    const Source source(
        choice, size, 1,
        marginsOf(border, (mask.width - 1) / 2, mask.width / 2, (mask.height - 1) / 2, mask.height / 2));
    compare(IPP_VARIANT_COUNT, [&]() -> Result {
        int bytes = 0;
        require(ippiFilterBoxBorderGetBufferSize(size, mask, ipp8u, 1, &bytes) == ippStsNoErr);
        Block buffer(bytes, offset);
        Target target(size, 1, padding, offset / 2);
        return target.result(ippiFilterBoxBorder_8u_C1R(source.first(), source.step(), target.data(),
                                                        target.step(), size, mask, border, &value,
                                                        buffer.data()));
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
    compare(IPP_VARIANT_COUNT, [&]() -> Result {
        int specBytes = 0, bytes = 0;
        require(ippiFilterGaussianGetBufferSize(size, kernel, ipp8u, channels, &specBytes, &bytes) ==
                ippStsNoErr);
        Block spec(specBytes, offset), buffer(bytes, offset / 3);
        auto* const record = spec.as<IppFilterGaussianSpec>();
        Target target(size, channels, padding, offset / 2);
        IppStatus status =
            ippiFilterGaussianInit(size, kernel, sigma, border, ipp8u, channels, record, buffer.data());
        if (status == ippStsNoErr) {
            status =
                channels == 1
                    ? ippiFilterGaussianBorder_8u_C1R(source.first(), source.step(), target.data(),
                                                      target.step(), size, values[0], record, buffer.data())
                    : ippiFilterGaussianBorder_8u_C3R(source.first(), source.step(), target.data(),
                                                      target.step(), size, values, record, buffer.data());
        }
        return target.result(status);
    });
}

void warp(Bytes& choice) {
    const IppiSize size = sizeOf(choice, 2), whole = sizeOf(choice, 1);
    const int channels = choice.flag() ? 3 : 1, direction = choice.between(0, 1);
    double coeffs[6];
    if (choice.flag()) {
        double shift[2];
        const double angle = choice.byte() * 1.5, x = choice.byte(), y = choice.byte();
        require(ippiGetRotateShift(x, y, angle, &shift[0], &shift[1]) == ippStsNoErr);
        require(ippiGetRotateTransform(angle, shift[0], shift[1], coeffs) == ippStsNoErr);
    } else {
        for (double& number : coeffs) {
            number = (choice.byte() - 128) / (&number - coeffs == 2 || &number - coeffs == 5 ? 2.0 : 48.0);
        }
    }
    const std::uint32_t kinds[] = {ippBorderRepl, ippBorderConst, ippBorderTransp, ippBorderInMem};
    const std::uint32_t border = kinds[choice.below(4)];
    const double values[4] = {300.0, choice.byte() + 0.5, -7.0, 1.0};
    const IppiPoint at{choice.between(0, whole.width - 1), choice.between(0, whole.height - 1)};
    const bool isTile = choice.flag();
    const IppiPoint place = isTile ? at : IppiPoint{0, 0};
    const IppiSize tile{whole.width - place.x, whole.height - place.y};
    const std::size_t offset = choice.below(64);
    const int padding = choice.between(0, 9);
    const Source source(choice, size, channels, {});
    compare(IPP_VARIANT_COUNT, [&]() -> Result {
        int specBytes = 0, initBytes = 0, bytes = 0;
        Target target(tile, channels, padding, offset / 2);
        IppStatus status = ippiWarpAffineGetSize(size, whole, ipp8u, coeffs, ippLinear, direction, border,
                                                 &specBytes, &initBytes);
        if (status != ippStsNoErr) {
            return target.result(status);
        }
        Block spec(specBytes, offset);
        auto* const record = spec.as<IppiWarpSpec>();
        status = ippiWarpAffineLinearInit(size, whole, ipp8u, coeffs, direction,
                                          static_cast<std::uint32_t>(channels), border, values, 0, record);
        if (status != ippStsNoErr) {
            return target.result(status);
        }
        require(ippiWarpGetBufferSize(record, tile, &bytes) == ippStsNoErr);
        Block buffer(bytes, offset / 3);
        const auto run = channels == 1 ? ippiWarpAffineLinear_8u_C1R : ippiWarpAffineLinear_8u_C3R;
        return target.result(run(source.first(), source.step(), target.data(), target.step(), place, tile,
                                 record, buffer.data()));
    });
}

struct Resize {
    std::int32_t method;
    int lobes;  // source pixels to each side; 0 for means
    int second; // the first variant of the other arithmetic
};

// Where the source of a tile begins on an axis.
int origin(int at, int src, int dst) {
    const int divisor = std::gcd(src, dst);
    return static_cast<int>(static_cast<double>(at) *
                            (static_cast<double>(src / divisor) / static_cast<double>(dst / divisor)));
}

void resize(Bytes& choice) {
    const Resize all[] = {
        {ippLinear, 1, 2}, {ippCubic, 2, 5}, {ippLanczos, 2, 5}, {ippLanczos, 3, 5}, {ippSuper, 0, 5}};
    const Resize& kind = all[choice.below(5)];
    const bool isSuper = kind.method == ippSuper;
    const IppiSize src = sizeOf(choice, isSuper ? 1 : 2 * kind.lobes);
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
    const std::size_t offset = choice.below(64);
    const int padding = choice.between(0, 9), reach = kind.lobes;
    const Source source(choice, src, channels, marginsOf(border, reach, reach, reach, reach));
    const Ipp8u* const from = source.first() + origin(place.y, src.height, dst.height) * source.step() +
                              origin(place.x, src.width, dst.width) * channels;
    using Bordered = decltype(&ippiResizeLinear_8u_C1R);
    const Bordered linear[] = {ippiResizeLinear_8u_C1R, ippiResizeLinear_8u_C3R, ippiResizeLinear_8u_C4R};
    const Bordered cubic[] = {ippiResizeCubic_8u_C1R, ippiResizeCubic_8u_C3R, ippiResizeCubic_8u_C4R};
    const Bordered lanczos[] = {ippiResizeLanczos_8u_C1R, ippiResizeLanczos_8u_C3R, ippiResizeLanczos_8u_C4R};
    const decltype(&ippiResizeSuper_8u_C1R) super[] = {ippiResizeSuper_8u_C1R, ippiResizeSuper_8u_C3R,
                                                       ippiResizeSuper_8u_C4R};
    compare(kind.second, [&]() -> Result {
        int specBytes = 0, initBytes = 0, bytes = 0;
        require(ippiResizeGetSize_8u(src, dst, kind.method, 0, &specBytes, &initBytes) == ippStsNoErr);
        Block spec(specBytes, offset), init(initBytes, offset / 4);
        auto* const plan = spec.as<IppiResizeSpec>();
        const IppStatus made = isSuper                    ? ippiResizeSuperInit_8u(src, dst, plan)
                               : kind.method == ippLinear ? ippiResizeLinearInit_8u(src, dst, plan)
                               : kind.method == ippCubic
                                   ? ippiResizeCubicInit_8u(src, dst, b, c, plan, init.data())
                                   : ippiResizeLanczosInit_8u(
                                         src, dst, static_cast<std::uint32_t>(kind.lobes), plan, init.data());
        require(made == ippStsNoErr);
        require(ippiResizeGetBufferSize_8u(plan, tile, static_cast<std::uint32_t>(channels), &bytes) ==
                ippStsNoErr);
        Block buffer(bytes, offset / 3);
        Target target(tile, channels, padding, offset / 2);
        if (isSuper) {
            return target.result(super[index](from, source.step(), target.data(), target.step(), place, tile,
                                              plan, buffer.data()));
        }
        const Bordered run = (kind.method == ippLinear  ? linear
                              : kind.method == ippCubic ? cubic
                                                        : lanczos)[index];
        return target.result(run(from, source.step(), target.data(), target.step(), place, tile, border,
                                 nullptr, plan, buffer.data()));
    });
}

void swap(Bytes& choice) {
    const IppiSize size{side(choice, 1), 1};
    const std::size_t offset = choice.below(64);
    const Source source(choice, size, 3, {});
    compare(IPP_VARIANT_COUNT, [&]() -> Result {
        Target target(size, 3, 0, offset);
        primitives::swapRedBlue(source.first(), target.data(), static_cast<std::size_t>(size.width));
        return target.result(ippStsNoErr);
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
