#include "primitives/convert/SwapRedBlue.h"

#include "primitives/core/Dispatch.h"

void primitives::swapRedBlue(const uint8_t* from, uint8_t* to, size_t pixels) {
    dispatch<SwapRedBlue>(from, to, pixels);
}
