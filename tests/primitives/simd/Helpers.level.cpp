#include "tests/primitives/simd/Helpers.h"

#include "primitives/core/Copy.h"
#include "primitives/core/Math.h"

using namespace primitives;
using namespace primitives::DORN_LEVEL_NAMESPACE;

template <>
Helpers HelpersOf<kVariant>::run() {
    return {
        [](double x) { return ippFloor64f(x); },
        [](double x) { return ippCeil64f(x); },
        [](float x) { return ippExp32f(x); },
        [](size_t bytes, size_t maxCacheSize) { return copyStreams(bytes, maxCacheSize); },
        [](const uint8_t* from, uint8_t* to, size_t bytes) { copyPastCaches(from, to, bytes); },
        [](const uint8_t* from, uint8_t* to, size_t count) { ippCopy(from, to, count); },
        [](uint8_t value, uint8_t* to, size_t count) { ippSet(value, to, count); },
        [](uint16_t value, uint16_t* to, size_t count) { ippSet(value, to, count); },
        [](float value, float* to, size_t count) { ippSet(value, to, count); },
    };
}
