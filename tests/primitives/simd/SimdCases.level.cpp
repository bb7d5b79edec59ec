#include "tests/primitives/simd/SimdCases.h"

#include "primitives/core/simd/Simd.h"

using namespace primitives::DORN_LEVEL_NAMESPACE::simd;

namespace {

template <typename V>
V get(const void* from) {
    return load<V>(static_cast<const typename V::Lane*>(from));
}

template <typename V>
void put(void* to, V v) {
    store(static_cast<typename V::Lane*>(to), v);
}

template <typename V, typename Operation>
constexpr SimdCase unary(const char* name, Operation) {
    return {name, V::lanes, [](const void* a, const void*, const void*, void* out, size_t) {
                put(out, Operation{}(get<V>(a)));
            }};
}

template <typename V, typename Operation>
constexpr SimdCase binary(const char* name, Operation) {
    return {name, V::lanes, [](const void* a, const void* b, const void*, void* out, size_t) {
                put(out, Operation{}(get<V>(a), get<V>(b)));
            }};
}

template <typename V, typename Operation>
constexpr SimdCase ternary(const char* name, Operation) {
    return {name, V::lanes, [](const void* a, const void* b, const void* c, void* out, size_t) {
                put(out, Operation{}(get<V>(a), get<V>(b), get<V>(c)));
            }};
}

template <typename V, typename From>
constexpr SimdCase promoting(const char* name) {
    return {name, V::lanes, [](const void* a, const void*, const void*, void* out, size_t) {
                put(out, loadPromote<V>(static_cast<const From*>(a)));
            }};
}

template <typename V, typename To>
constexpr SimdCase demoting(const char* name) {
    return {name, V::lanes, [](const void* a, const void*, const void*, void* out, size_t) {
                demoteStore(static_cast<To*>(out), get<V>(a));
            }};
}

constexpr auto add = [](auto a, auto b) { return a + b; };
constexpr auto subtract = [](auto a, auto b) { return a - b; };
constexpr auto multiply = [](auto a, auto b) { return a * b; };
constexpr auto smaller = [](auto a, auto b) { return min(a, b); };
constexpr auto larger = [](auto a, auto b) { return max(a, b); };
constexpr auto isLess = [](auto a, auto b) { return less(a, b); };
constexpr auto isEqual = [](auto a, auto b) { return equal(a, b); };
constexpr auto pickLess = [](auto a, auto b, auto c) { return select(less(a, b), c, a); };
constexpr auto saturatedSum = [](auto a, auto b) { return addSaturated(a, b); };
constexpr auto saturatedDifference = [](auto a, auto b) { return subSaturated(a, b); };
constexpr auto highProduct = [](auto a, auto b) { return mulHigh(a, b); };
constexpr auto pairProducts = [](auto a, auto b) { return mulPairs(a, b); };
constexpr auto lowerBlocks = [](auto a, auto b) { return interleaveLowerBlocks(a, b); };
constexpr auto upperBlocks = [](auto a, auto b) { return interleaveUpperBlocks(a, b); };
constexpr auto lowerWhole = [](auto a, auto b) { return interleaveLower(a, b); };
constexpr auto upperWhole = [](auto a, auto b) { return interleaveUpper(a, b); };
constexpr auto shiftLeft = [](auto a) { return a << 3; };
constexpr auto shiftRight = [](auto a) { return a >> 5; };
constexpr auto slide = [](auto a) { return slideUp<3>(a); };
constexpr auto slideOver = [](auto a, auto b) { return slideUp<1>(a, b); };
constexpr auto last = [](auto a) { return broadcastLast(a); };
constexpr auto prefix = [](auto a) { return prefixSum(a); };
constexpr auto total = [](auto a) { return splat<decltype(a)>(reduceSum(a)); };

constexpr SimdCase
    kCases
        [] =
            {
                binary<VecU8>("u8 add", add),
                binary<VecI16>("i16 add", add),
                binary<VecI32>("i32 add", add),
                binary<VecF32>("f32 add", add),
                binary<VecU8>("u8 subtract", subtract),
                binary<VecI16>("i16 subtract", subtract),
                binary<VecU32>("u32 subtract", subtract),
                binary<VecF32>("f32 subtract", subtract),
                binary<VecI16>("i16 multiply", multiply),
                binary<VecI32>("i32 multiply", multiply),
                binary<VecU32>("u32 multiply", multiply),
                binary<VecF32>("f32 multiply", multiply),
                binary<VecF32>("f32 divide", [](auto a, auto b) { return a / b; }),
                binary<VecU8>("u8 bits", [](auto a, auto b) { return (a & b) ^ (a | ~b); }),
                unary<VecI16>("i16 shift left", shiftLeft),
                unary<VecU32>("u32 shift left", shiftLeft),
                unary<VecI16>("i16 shift right", shiftRight),
                unary<VecU16>("u16 shift right", shiftRight),
                unary<VecI32>("i32 shift right", shiftRight),
                unary<VecU32>("u32 shift right", shiftRight),
                binary<VecU8>("u8 min", smaller),
                binary<VecI16>("i16 min", smaller),
                binary<VecU16>("u16 min", smaller),
                binary<VecI32>("i32 min", smaller),
                binary<VecU32>("u32 min", smaller),
                binary<VecF32>("f32 min", smaller),
                binary<VecU8>("u8 max", larger),
                binary<VecI16>("i16 max", larger),
                binary<VecU16>("u16 max", larger),
                binary<VecI32>("i32 max", larger),
                binary<VecU32>("u32 max", larger),
                binary<VecF32>("f32 max", larger),
                binary<VecU8>("u8 less", isLess),
                binary<VecI32>("i32 less", isLess),
                binary<VecF32>("f32 less", isLess),
                binary<VecI16>("i16 equal", isEqual),
                ternary<VecU8>("u8 select", pickLess),
                ternary<VecI16>("i16 select", pickLess),
                ternary<VecF32>("f32 select", pickLess),
                ternary<VecF32>("f32 mulAdd", [](auto a, auto b, auto c) { return mulAdd(a, b, c); }),
                unary<VecF32>("f32 truncateInt", [](auto a) { return truncateInt(a); }),
                unary<VecF32>("f32 nearestInt", [](auto a) { return nearestInt(a); }),
                unary<VecI32>("i32 toFloat", [](auto a) { return toFloat(a); }),
                binary<VecU8>("u8 addSaturated", saturatedSum),
                binary<VecI16>("i16 addSaturated", saturatedSum),
                binary<VecU16>("u16 addSaturated", saturatedSum),
                binary<VecU8>("u8 subSaturated", saturatedDifference),
                binary<VecI16>("i16 subSaturated", saturatedDifference),
                binary<VecU16>("u16 subSaturated", saturatedDifference),
                binary<VecI16>("i16 mulHigh", highProduct),
                binary<VecU16>("u16 mulHigh", highProduct),
                binary<VecI16>("i16 mulPairs", pairProducts),
                binary<VecI16>("i16 mulHighRounded", [](auto a, auto b) { return mulHighRounded(a, b); }),
                binary<VecU8>("u8 mulPairs", [](auto a, auto b) { return mulPairs(a, bitCast<VecI8>(b)); }),
                binary<VecU8>("u8 lookupBlocks",
                              [](auto a, auto b) { return lookupBlocks(a, b & splat<VecU8>(0x8F)); }),
                {"u8 loadBlocks", VecU8::lanes,
                 [](const void* a, const void*, const void*, void* out, size_t) {
                     const int32_t offsets[] = {7, 0, 31, 2};
                     put(out, loadBlocks<VecU8>(static_cast<const uint8_t*>(a), offsets));
                 }},
                {"u8 loadSameBlocks", VecU8::lanes,
                 [](const void* a, const void*, const void*, void* out, size_t) {
                     put(out, loadSameBlocks<VecU8>(static_cast<const uint8_t*>(a) + 5));
                 }},
                {"u8 loadTwinBlocks", VecU8::lanes,
                 [](const void* a, const void*, const void*, void* out, size_t) {
                     const int32_t offsets[] = {7, 31};
                     put(out, loadTwinBlocks<VecU8>(static_cast<const uint8_t*>(a), offsets));
                 }},
                binary<VecU8>("u8 interleaveLowerBlocks", lowerBlocks),
                binary<VecI16>("i16 interleaveLowerBlocks", lowerBlocks),
                binary<VecI32>("i32 interleaveLowerBlocks", lowerBlocks),
                binary<VecU8>("u8 interleaveUpperBlocks", upperBlocks),
                binary<VecI16>("i16 interleaveUpperBlocks", upperBlocks),
                binary<VecI32>("i32 interleaveUpperBlocks", upperBlocks),
                binary<VecU8>("u8 interleaveLower", lowerWhole),
                binary<VecI16>("i16 interleaveUpper", upperWhole),
                unary<VecI16>("i16 slideUp", slide),
                unary<VecI32>("i32 slideUp", slide),
                binary<VecU8>("u8 slideUp over", slideOver),
                binary<VecI32>("i32 slideUp over", slideOver),
                unary<VecI32>("i32 broadcastLast", last),
                {"i32 extractBlock", 4,
                 [](const void* a, const void*, const void*, void* out, size_t) {
                     put(out, extractBlock<1>(get<Vec<int32_t, 8>>(a)));
                 }},
                unary<VecI32>("i32 prefixSum", prefix),
                unary<VecU16>("u16 prefixSum", prefix),
                unary<VecI32>("i32 reduceSum", total),
                unary<VecU16>("u16 reduceSum", total),
                unary<VecI32>("i32 iota", [](auto a) { return iota<decltype(a)>(); }),
                promoting<VecI16, uint8_t>("u8 to i16"),
                promoting<VecI32, uint8_t>("u8 to i32"),
                promoting<VecF32, uint8_t>("u8 to f32"),
                promoting<VecI32, int16_t>("i16 to i32"),
                promoting<VecF32, int16_t>("i16 to f32"),
                promoting<VecU32, uint16_t>("u16 to u32"),
                demoting<VecI16, uint8_t>("i16 to u8"),
                demoting<VecI32, uint8_t>("i32 to u8"),
                demoting<VecI32, int16_t>("i32 to i16"),
                binary<VecI16>("i16 pair to u8", [](auto a, auto b) { return demote<VecU8>(a, b); }),
                binary<NarrowI32>("i32 pair to i16", [](auto a, auto b) { return demote<VecI16>(a, b); }),
                binary<VecI16>("i16 blocks to u8", [](auto a, auto b) { return demoteBlocks<VecU8>(a, b); }),
                binary<NarrowI32>("i32 blocks to i16",
                                  [](auto a, auto b) { return demoteBlocks<VecI16>(a, b); }),
                unary<
                    VecU8>("u8 through blocks",
                           [](auto a) {
                               return demoteBlocks<VecU8>(promoteLowerBlocks<VecI16>(a),
                                                          promoteUpperBlocks<VecI16>(a));
                           }),
                {"u8 loadN", VecU8::lanes,
                 [](const void* a, const void*, const void*, void* out, size_t count) {
                     put(out, loadN<VecU8>(static_cast<const uint8_t*>(a), count));
                 }},
                {"f32 storeN", VecF32::lanes,
                 [](const void* a, const void*, const void*, void* out, size_t count) {
                     storeN(static_cast<float*>(out), get<VecF32>(a), count);
                 }},
                {"u8 to i32 N", VecI32::lanes,
                 [](const void* a, const void*, const void*, void* out, size_t count) {
                     put(out, loadPromoteN<VecI32>(static_cast<const uint8_t*>(a), count));
                 }},
                {"i16 to u8 N", VecI16::lanes,
                 [](const void* a, const void*, const void*, void* out, size_t count) {
                     demoteStoreN(static_cast<uint8_t*>(out), get<VecI16>(a), count);
                 }},
                {"u8 storeStream", VecU8::lanes,
                 [](const void* a, const void*, const void*, void* out, size_t) {
                     prefetch(a);
                     storeStream(static_cast<uint8_t*>(out), get<VecU8>(a));
                     fenceStream();
                 }},
                {nullptr, 0, nullptr},
};

} // namespace

template <>
const SimdCase* SimdCases<primitives::kVariant>::run() {
    return kCases;
}
