#include "primitives/resize/FlushToZero.h"

#include <xmmintrin.h>

namespace primitives {

namespace {

// Bits of the control word.
constexpr std::uint32_t kFlush = 0x8000;
constexpr std::uint32_t kUnderflowMask = 0x0800;
constexpr std::uint32_t kUnderflowFlag = 0x0010;
constexpr std::uint32_t kRestored = kFlush | kUnderflowMask | kUnderflowFlag;

} // namespace

FlushToZero::FlushToZero() : before_(_mm_getcsr()) {
    _mm_setcsr(before_ | kFlush | kUnderflowMask);
}

FlushToZero::~FlushToZero() {
    _mm_setcsr((_mm_getcsr() & ~kRestored) | (before_ & kRestored));
}

} // namespace primitives
