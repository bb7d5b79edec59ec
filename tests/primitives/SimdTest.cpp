// Every operation of the vector layer, at every level, against the same operation lane by lane.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VariantTest.h"
#include "primitives/core/Dispatch.h"
#include "simd/SimdCases.h"

namespace {

constexpr std::size_t kBytes = 128; // more than the longest vector that goes in or comes out

struct alignas(64) Bytes {
    std::uint8_t data[kBytes];

    template <typename T>
    T at(int lane) const {
        T value;
        std::memcpy(&value, data + static_cast<std::size_t>(lane) * sizeof value, sizeof value);
        return value;
    }
    template <typename T>
    void set(int lane, T value) {
        std::memcpy(data + static_cast<std::size_t>(lane) * sizeof value, &value, sizeof value);
    }
};

struct Inputs {
    Bytes a, b, c;
    std::size_t count;
};

using Reference = std::function<void(const Inputs& in, int lanes, Bytes& out)>;

template <typename T>
using Unsigned =
    std::conditional_t<std::is_integral_v<T>, std::make_unsigned<T>, std::type_identity<T>>::type;

// The same function for each lane.
template <typename T, typename Function>
Reference each(Function function) {
    return [function](const Inputs& in, int lanes, Bytes& out) {
        for (int i = 0; i < lanes; ++i) {
            out.set(i, function(in.a.at<T>(i), in.b.at<T>(i), in.c.at<T>(i)));
        }
    };
}

// Lane i of the result is one of the lanes of `a` and, behind them, `b`.
template <typename T, typename Function>
Reference moved(Function from) {
    return [from](const Inputs& in, int lanes, Bytes& out) {
        for (int i = 0; i < lanes; ++i) {
            const int lane = from(i, lanes);
            out.set(i, lane < lanes ? in.a.at<T>(lane) : in.b.at<T>(lane - lanes));
        }
    };
}

template <typename To, typename From>
To saturated(From value) {
    using Limits = std::numeric_limits<To>;
    return static_cast<To>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

template <typename To, typename From>
Reference narrowed() {
    return [](const Inputs& in, int lanes, Bytes& out) {
        for (int i = 0; i < lanes; ++i) {
            out.set(i, saturated<To>(in.a.at<From>(i)));
        }
    };
}

template <typename To, typename From>
Reference widened() {
    return [](const Inputs& in, int lanes, Bytes& out) {
        for (int i = 0; i < lanes; ++i) {
            out.set(i, static_cast<To>(in.a.at<From>(i)));
        }
    };
}

template <typename To, typename From>
Reference narrowedPair(bool inBlocks) {
    return [inBlocks](const Inputs& in, int lanes, Bytes& out) {
        const int block = inBlocks ? 16 / static_cast<int>(sizeof(From)) : lanes;
        for (int i = 0; i < lanes; ++i) {
            const int at = i / block * 2 * block + i % block;
            out.set(at, saturated<To>(in.a.at<From>(i)));
            out.set(at + block, saturated<To>(in.b.at<From>(i)));
        }
    };
}

template <typename T>
Reference interleaved(bool upper, bool inBlocks) {
    return moved<T>([=](int i, int lanes) {
        const int block = inBlocks ? 16 / static_cast<int>(sizeof(T)) : lanes;
        return i / block * block + i % block / 2 + (upper ? block / 2 : 0) + (i % 2) * lanes;
    });
}

template <typename T>
Reference slid(int count) {
    return [count](const Inputs& in, int lanes, Bytes& out) {
        for (int i = 0; i < lanes; ++i) {
            out.set(i, i < count ? T{0} : in.a.at<T>(i - count));
        }
    };
}

template <typename T>
Reference summed(bool prefix) {
    return [prefix](const Inputs& in, int lanes, Bytes& out) {
        Unsigned<T> sum = 0;
        for (int i = 0; i < lanes; ++i) {
            sum = static_cast<Unsigned<T>>(sum + static_cast<Unsigned<T>>(in.a.at<T>(i)));
            out.set(i, sum);
        }
        for (int i = 0; i < lanes && !prefix; ++i) {
            out.set(i, sum);
        }
    };
}

// The first lanes of the result; the others are set only where `rest` is.
template <typename To, typename From>
Reference partly(bool rest) {
    return [rest](const Inputs& in, int lanes, Bytes& out) {
        for (int i = 0; i < lanes; ++i) {
            if (static_cast<std::size_t>(i) < in.count) {
                if constexpr (std::is_same_v<To, From>) {
                    out.set(i, in.a.at<From>(i));
                } else {
                    out.set(i, saturated<To>(in.a.at<From>(i)));
                }
            } else if (rest) {
                out.set(i, To{0});
            }
        }
    };
}

std::int32_t toInt(float value, bool nearest) {
    if (!(value >= -0x1p31F && value < 0x1p31F)) {
        return INT32_MIN;
    }
    return static_cast<std::int32_t>(nearest ? std::nearbyint(value) : std::trunc(value));
}

constexpr auto mask = [](bool is, auto lane) { return static_cast<decltype(lane)>(is ? -1 : 0); };

template <typename T>
struct Lane {
    using U = Unsigned<T>;
    static Reference add() {
        return each<T>([](T a, T b, T) { return static_cast<T>(static_cast<U>(a) + static_cast<U>(b)); });
    }
    static Reference subtract() {
        return each<T>([](T a, T b, T) { return static_cast<T>(static_cast<U>(a) - static_cast<U>(b)); });
    }
    static Reference multiply() {
        if constexpr (std::is_integral_v<T>) {
            return each<T>(
                [](T a, T b, T) { return static_cast<T>(static_cast<std::uint64_t>(std::int64_t{a} * b)); });
        } else {
            return each<T>([](T a, T b, T) { return a * b; });
        }
    }
    static Reference shiftLeft() {
        return each<T>([](T a, T, T) { return static_cast<T>(static_cast<U>(a) << 3); });
    }
    static Reference shiftRight() {
        return each<T>([](T a, T, T) { return static_cast<T>(a >> 5); });
    }
    static Reference smaller() {
        return each<T>([](T a, T b, T) { return a < b ? a : b; });
    }
    static Reference larger() {
        return each<T>([](T a, T b, T) { return a > b ? a : b; });
    }
    template <typename M>
    static Reference less() {
        return each<T>([](T a, T b, T) { return mask(a < b, M{}); });
    }
    static Reference select() {
        return each<T>([](T a, T b, T c) { return a < b ? c : a; });
    }
    static Reference addSaturated() {
        return each<T>([](T a, T b, T) { return saturated<T>(std::int64_t{a} + b); });
    }
    static Reference subSaturated() {
        return each<T>([](T a, T b, T) { return saturated<T>(std::int64_t{a} - b); });
    }
    static Reference mulHigh() {
        // Not 64 bits: GCC 12 then gives the unsigned product for signed lanes at -O3.
        using Wide = std::conditional_t<std::is_signed_v<T>, std::int32_t, std::uint32_t>;
        return each<T>([](T a, T b, T) { return static_cast<T>((Wide{a} * b) >> 16); });
    }
};

using u8 = std::uint8_t;
using i16 = std::int16_t;
using u16 = std::uint16_t;
using i32 = std::int32_t;
using u32 = std::uint32_t;
using f32 = float;

std::map<std::string, Reference> references(bool fuses) {
    return {
        {"u8 add", Lane<u8>::add()},
        {"i16 add", Lane<i16>::add()},
        {"i32 add", Lane<i32>::add()},
        {"f32 add", Lane<f32>::add()},
        {"u8 subtract", Lane<u8>::subtract()},
        {"i16 subtract", Lane<i16>::subtract()},
        {"u32 subtract", Lane<u32>::subtract()},
        {"f32 subtract", Lane<f32>::subtract()},
        {"i16 multiply", Lane<i16>::multiply()},
        {"i32 multiply", Lane<i32>::multiply()},
        {"u32 multiply", Lane<u32>::multiply()},
        {"f32 multiply", Lane<f32>::multiply()},
        {"f32 divide", each<f32>([](f32 a, f32 b, f32) { return a / b; })},
        {"u8 bits", each<u8>([](u8 a, u8 b, u8) { return static_cast<u8>((a & b) ^ (a | ~b)); })},
        {"i16 shift left", Lane<i16>::shiftLeft()},
        {"u32 shift left", Lane<u32>::shiftLeft()},
        {"i16 shift right", Lane<i16>::shiftRight()},
        {"u16 shift right", Lane<u16>::shiftRight()},
        {"i32 shift right", Lane<i32>::shiftRight()},
        {"u32 shift right", Lane<u32>::shiftRight()},
        {"u8 min", Lane<u8>::smaller()},
        {"i16 min", Lane<i16>::smaller()},
        {"u16 min", Lane<u16>::smaller()},
        {"i32 min", Lane<i32>::smaller()},
        {"u32 min", Lane<u32>::smaller()},
        {"f32 min", Lane<f32>::smaller()},
        {"u8 max", Lane<u8>::larger()},
        {"i16 max", Lane<i16>::larger()},
        {"u16 max", Lane<u16>::larger()},
        {"i32 max", Lane<i32>::larger()},
        {"u32 max", Lane<u32>::larger()},
        {"f32 max", Lane<f32>::larger()},
        {"u8 less", Lane<u8>::less<std::int8_t>()},
        {"i32 less", Lane<i32>::less<i32>()},
        {"f32 less", Lane<f32>::less<i32>()},
        {"i16 equal", each<i16>([](i16 a, i16 b, i16) { return mask(a == b, i16{}); })},
        {"u8 select", Lane<u8>::select()},
        {"i16 select", Lane<i16>::select()},
        {"f32 select", Lane<f32>::select()},
        {"f32 mulAdd", each<f32>([fuses](f32 a, f32 b, f32 c) {
             const f32 product = a * b;
             return fuses ? std::fma(a, b, c) : product + c;
         })},
        {"f32 truncateInt", each<f32>([](f32 a, f32, f32) { return toInt(a, false); })},
        {"f32 nearestInt", each<f32>([](f32 a, f32, f32) { return toInt(a, true); })},
        {"i32 toFloat", each<i32>([](i32 a, i32, i32) { return static_cast<f32>(a); })},
        {"u8 addSaturated", Lane<u8>::addSaturated()},
        {"i16 addSaturated", Lane<i16>::addSaturated()},
        {"u16 addSaturated", Lane<u16>::addSaturated()},
        {"u8 subSaturated", Lane<u8>::subSaturated()},
        {"i16 subSaturated", Lane<i16>::subSaturated()},
        {"u16 subSaturated", Lane<u16>::subSaturated()},
        {"i16 mulHigh", Lane<i16>::mulHigh()},
        {"u16 mulHigh", Lane<u16>::mulHigh()},
        {"i16 mulPairs",
         [](const Inputs& in, int lanes, Bytes& out) {
             for (int i = 0; i < lanes; i += 2) {
                 const std::int64_t sum = std::int64_t{in.a.at<i16>(i)} * in.b.at<i16>(i) +
                                          std::int64_t{in.a.at<i16>(i + 1)} * in.b.at<i16>(i + 1);
                 out.set(i / 2, static_cast<u32>(sum));
             }
         }},
        {"i16 mulHighRounded",
         each<i16>([](i16 a, i16 b, i16) { return static_cast<i16>((i32{a} * b + 0x4000) >> 15); })},
        {"u8 mulPairs",
         [](const Inputs& in, int lanes, Bytes& out) {
             for (int i = 0; i < lanes; i += 2) {
                 const auto product = [&](int at) { return i32{in.a.at<u8>(at)} * in.b.at<std::int8_t>(at); };
                 out.set(i / 2, saturated<i16>(product(i) + product(i + 1)));
             }
         }},
        {"u8 lookupBlocks",
         [](const Inputs& in, int lanes, Bytes& out) {
             for (int i = 0; i < lanes; ++i) {
                 const u8 number = in.b.at<u8>(i);
                 out.set(i, number < 128 ? in.a.at<u8>(i / 16 * 16 + number % 16) : u8{0});
             }
         }},
        {"u8 loadSameBlocks",
         [](const Inputs& in, int lanes, Bytes& out) {
             for (int i = 0; i < lanes; ++i) {
                 out.set(i, in.a.at<u8>(5 + i % 16));
             }
         }},
        {"u8 loadBlocks",
         [](const Inputs& in, int lanes, Bytes& out) {
             constexpr int offsets[] = {7, 0, 31, 2};
             for (int i = 0; i < lanes; ++i) {
                 out.set(i, in.a.at<u8>(offsets[i / 16] + i % 16));
             }
         }},
        {"u8 loadTwinBlocks",
         [](const Inputs& in, int lanes, Bytes& out) {
             for (int i = 0; i < lanes; ++i) {
                 out.set(i, in.a.at<u8>((i < 32 ? 7 : 31) + i % 16));
             }
         }},
        {"u8 interleaveLowerBlocks", interleaved<u8>(false, true)},
        {"i16 interleaveLowerBlocks", interleaved<i16>(false, true)},
        {"i32 interleaveLowerBlocks", interleaved<i32>(false, true)},
        {"u8 interleaveUpperBlocks", interleaved<u8>(true, true)},
        {"i16 interleaveUpperBlocks", interleaved<i16>(true, true)},
        {"i32 interleaveUpperBlocks", interleaved<i32>(true, true)},
        {"u8 interleaveLower", interleaved<u8>(false, false)},
        {"i16 interleaveUpper", interleaved<i16>(true, false)},
        {"i16 slideUp", slid<i16>(3)},
        {"i32 slideUp", slid<i32>(3)},
        {"u8 slideUp over", moved<u8>([](int i, int lanes) { return i == 0 ? 2 * lanes - 1 : i - 1; })},
        {"i32 slideUp over", moved<i32>([](int i, int lanes) { return i == 0 ? 2 * lanes - 1 : i - 1; })},
        {"i32 broadcastLast", moved<i32>([](int, int lanes) { return lanes - 1; })},
        {"i32 extractBlock",
         [](const Inputs& in, int lanes, Bytes& out) {
             for (int i = 0; i < lanes; ++i) {
                 out.set(i, in.a.at<i32>(lanes + i));
             }
         }},
        {"i32 prefixSum", summed<i32>(true)},
        {"u16 prefixSum", summed<u16>(true)},
        {"i32 reduceSum", summed<i32>(false)},
        {"u16 reduceSum", summed<u16>(false)},
        {"i32 iota",
         [](const Inputs&, int lanes, Bytes& out) {
             for (int i = 0; i < lanes; ++i) {
                 out.set(i, i);
             }
         }},
        {"u8 to i16", widened<i16, u8>()},
        {"u8 to i32", widened<i32, u8>()},
        {"u8 to f32", widened<f32, u8>()},
        {"i16 to i32", widened<i32, i16>()},
        {"i16 to f32", widened<f32, i16>()},
        {"u16 to u32", widened<u32, u16>()},
        {"i16 to u8", narrowed<u8, i16>()},
        {"i32 to u8", narrowed<u8, i32>()},
        {"i32 to i16", narrowed<i16, i32>()},
        {"i16 pair to u8", narrowedPair<u8, i16>(false)},
        {"i32 pair to i16", narrowedPair<i16, i32>(false)},
        {"i16 blocks to u8", narrowedPair<u8, i16>(true)},
        {"i32 blocks to i16", narrowedPair<i16, i32>(true)},
        {"u8 through blocks", each<u8>([](u8 a, u8, u8) { return a; })},
        {"u8 loadN", partly<u8, u8>(true)},
        {"f32 storeN", partly<f32, f32>(false)},
        {"u8 to i32 N", partly<i32, u8>(true)},
        {"i16 to u8 N", partly<u8, i16>(false)},
        {"u8 storeStream", each<u8>([](u8 a, u8, u8) { return a; })},
    };
}

// Random bits, values near the limits of every lane type, and floats of everyday size.
Inputs makeInputs(std::mt19937& random, int kind, int lanes, bool isFloat) {
    Inputs in;
    for (Bytes* bytes : {&in.a, &in.b, &in.c}) {
        for (int i = 0; i < static_cast<int>(kBytes / 4); ++i) {
            if (isFloat && kind % 3 != 0) {
                const float value = static_cast<float>(static_cast<std::int32_t>(random() % 40001) - 20000);
                bytes->set(i, kind % 3 == 1 ? value / 8 : value * 0.37F);
            } else {
                bytes->set(i, static_cast<u32>(random()));
            }
        }
        for (int i = 0; i < static_cast<int>(kBytes / 2) && !isFloat && kind % 3 == 1; ++i) {
            const u16 edges[] = {0, 1, 0x7F, 0x80, 0xFF, 0x100, 0x7FFF, 0x8000, 0x8001, 0xFF00, 0xFFFF};
            bytes->set(i, edges[random() % std::size(edges)]);
        }
    }
    in.count = random() % (static_cast<unsigned>(lanes) + 1);
    return in;
}

class Simd : public VariantTest {};
INSTANTIATE_VARIANTS(Simd);

TEST_P(Simd, OperationsMeanTheSameAtEveryLevel) {
    std::map<std::string, Reference> open = references(GetParam() >= 5);
    std::mt19937 random(20240607);
    for (const SimdCase* test = primitives::dispatch<SimdCases>(); test->name; ++test) {
        const auto reference = open.find(test->name);
        ASSERT_NE(reference, open.end()) << test->name;
        const bool isFloat = std::strncmp(test->name, "f32", 3) == 0;
        for (int round = 0; round < rounds(100); ++round) {
            const Inputs in = makeInputs(random, round, test->lanes, isFloat);
            Bytes expected;
            std::memset(expected.data, 0xA7, kBytes);
            Bytes got = expected;
            reference->second(in, test->lanes, expected);
            test->run(in.a.data, in.b.data, in.c.data, got.data, in.count);
            for (int i = 0; i < static_cast<int>(kBytes / 4); ++i) {
                // The bits of a result that is not a number are nobody's promise.
                if (isFloat && std::isnan(expected.at<float>(i)) && std::isnan(got.at<float>(i))) {
                    continue;
                }
                ASSERT_EQ(got.at<u32>(i), expected.at<u32>(i))
                    << test->name << ", word " << i << ", count " << in.count;
            }
        }
        open.erase(reference);
    }
    EXPECT_TRUE(open.empty()) << "never run: " << open.begin()->first;
}

} // namespace
