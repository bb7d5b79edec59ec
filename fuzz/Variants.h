#ifndef DORNIMAGE_FUZZ_VARIANTS_H
#define DORNIMAGE_FUZZ_VARIANTS_H

// One call by all variants of the primitives: its arguments, memory that catches what strays, and the
// comparison of the results.

#include "fuzz/Bytes.h"
#include "primitives/primitives.h"
#include "tests/primitives/GuardedBuffer.h"

#include <cstdlib>
#include <vector>

// What a call gave: all bytes of the destination, written or not.
struct Result {
    IppStatus status;
    std::vector<Ipp8u> bytes;
    std::size_t step;
};

inline bool isNear(const Result& one, const Result& other, int tolerance) {
    bool near = one.status == other.status && one.bytes.size() == other.bytes.size();
    for (std::size_t i = 0; near && i < one.bytes.size(); ++i) {
        near = std::abs(one.bytes[i] - other.bytes[i]) <= tolerance;
    }
    return near;
}

// Runs `call` once per variant. From variant `second` on there is another arithmetic. `check(result,
// isSecond)` looks at the first result of each.
template <typename Call, typename Check>
void compare(int second, Call call, Check check) {
    std::vector<Result> first[2];
    for (int variant = 0; variant < IPP_VARIANT_COUNT; ++variant) {
        if (ippIsVariantBuilt(variant) != 0 && ippIsVariantRunnable(variant) != 0) {
            require(ippSetCpuFeatures(ippGetVariantFeatures(variant) | IPP_FEATURE_FORCE) == ippStsNoErr);
            require(ippProbeVariant() == variant);
            const bool isSecond = variant >= second;
            std::vector<Result>& known = first[isSecond ? 1 : 0];
            known.push_back(call());
            require(isNear(known.front(), known.back(), 0));
            if (known.size() == 1) {
                check(known.front(), isSecond);
            }
        }
    }
    require(first[0].empty() || first[1].empty() || isNear(first[0].front(), first[1].front(), 1));
}

// Asks isAllowed(x, y, channel, sample) for the samples of a tile, each of which costs the reference so many
// steps: for all, or for as many as there is time for.
template <typename IsAllowed>
void checkSamples(const Result& result, IppiSize tile, int channels, int steps, IsAllowed isAllowed) {
    constexpr std::size_t mostSteps = 1 << 18;
    const auto row = static_cast<std::size_t>(tile.width * channels);
    const std::size_t samples = row * static_cast<std::size_t>(tile.height);
    const std::size_t apart = samples * static_cast<std::size_t>(steps) / mostSteps | 1;
    for (std::size_t at = result.bytes[0] % apart; at < samples; at += apart) {
        const int x = static_cast<int>(at % row) / channels, channel = static_cast<int>(at % row) % channels;
        require(isAllowed(x, static_cast<int>(at / row), channel,
                          int{result.bytes[at / row * result.step + at % row]}));
    }
}

inline int side(Bytes& choice, int least) {
    const int most[] = {3, 20, 70, 70, 300};
    return least + choice.between(0, most[choice.below(5)]);
}

inline IppiSize sizeOf(Bytes& choice, int least) {
    const int width = side(choice, least);
    return {width, least + choice.between(0, 40)};
}

// Pixels beyond the edges of an image.
struct Margins {
    int left = 0, top = 0, right = 0, bottom = 0;
};

inline Margins marginsOf(std::uint32_t border, int before, int behindX, int beforeY, int behindY) {
    const auto has = [&](std::uint32_t flag, int size) { return (border & flag) != 0 ? size : 0; };
    return {has(ippBorderInMemLeft, before), has(ippBorderInMemTop, beforeY),
            has(ippBorderInMemRight, behindX), has(ippBorderInMemBottom, behindY)};
}

// One of the kinds, or all in memory, with flags.
inline std::uint32_t borderOf(Bytes& choice) {
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
        return {status, {data(), data() + bytes_}, step_};
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

#endif
