#ifndef DORNIMAGE_TESTS_PRIMITIVES_SIMD_HELPERS_H
#define DORNIMAGE_TESTS_PRIMITIVES_SIMD_HELPERS_H

#include <cstddef>
#include <cstdint>

// The helpers of level sources as compiled for one of them.
struct Helpers {
    double (*floor)(double x);
    double (*ceil)(double x);
    float (*exp)(float x);
    bool (*copyStreams)(std::size_t bytes, std::size_t maxCacheSize);
    void (*copyPastCaches)(const std::uint8_t* from, std::uint8_t* to, std::size_t bytes);
    void (*copy)(const std::uint8_t* from, std::uint8_t* to, std::size_t count);
    void (*set8)(std::uint8_t value, std::uint8_t* to, std::size_t count);
    void (*set16)(std::uint16_t value, std::uint16_t* to, std::size_t count);
    void (*set32)(float value, float* to, std::size_t count);
};

template <int variant>
struct HelpersOf {
    static Helpers run();
};

#endif
