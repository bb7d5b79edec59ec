#ifndef DORNIMAGE_PRIMITIVES_CORE_MEMORY_H
#define DORNIMAGE_PRIMITIVES_CORE_MEMORY_H

/* Memory on 64-byte boundaries for images, plans and work buffers. Valid in C.
   What either allocator gave may be returned through either of the two releases. */

#include "base/Export.h"
#include "primitives/core/Types.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* A block of `len` bytes, not initialised; null when `len` is below 1 or there is no memory. */
IPP_NODISCARD DORNIMAGE_API Ipp8u* ippsMalloc_8u(int32_t len);

/* Gives back a block; null is ignored. */
DORNIMAGE_API void ippsFree(void* ptr);

/* A one-channel image of `width` x `height` pixels, not initialised, whose rows begin on 64-byte boundaries.
   `*stepBytes` is set to the distance between rows in bytes. Null when a side is below 1 (`*stepBytes` is
   then 0), when the image would take more than 0x7FFFFFFF bytes (`*stepBytes` is set all the same), when
   there is no memory, or when `stepBytes` is null. */
IPP_NODISCARD DORNIMAGE_API Ipp8u* ippiMalloc_8u_C1(int32_t width, int32_t height, int32_t* stepBytes);

/* Gives back an image; null is ignored. */
DORNIMAGE_API void ippiFree(void* ptr);

#if defined(__cplusplus)
}
#endif

#endif
