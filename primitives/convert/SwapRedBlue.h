#ifndef DORNIMAGE_PRIMITIVES_CONVERT_SWAPREDBLUE_H
#define DORNIMAGE_PRIMITIVES_CONVERT_SWAPREDBLUE_H

#include <stddef.h>
#include <stdint.h>

namespace primitives {

// Copies `pixels` pixels of three bytes with the first and the last byte of each exchanged. The blocks don't
// overlap. For the library's own use.
void swapRedBlue(const uint8_t* from, uint8_t* to, size_t pixels);

template <int variant>
struct SwapRedBlue {
    static void run(const uint8_t* from, uint8_t* to, size_t pixels);
};

} // namespace primitives

#endif
