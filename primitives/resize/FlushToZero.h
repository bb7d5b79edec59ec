#ifndef DORNIMAGE_PRIMITIVES_RESIZE_FLUSHTOZERO_H
#define DORNIMAGE_PRIMITIVES_RESIZE_FLUSHTOZERO_H

#include <cstdint>

namespace primitives {

// While it lives, floating-point results too small for a normal number become zero on the calling thread.
// Exists on x86 processors only, where variants 1 to 7 use it.
class FlushToZero {
public:
    FlushToZero();
    // Puts flushing, the mask of the underflow exception and its flag back to what they were.
    ~FlushToZero();

    FlushToZero(const FlushToZero&) = delete;
    FlushToZero& operator=(const FlushToZero&) = delete;

private:
    std::uint32_t before_;
};

} // namespace primitives

#endif
