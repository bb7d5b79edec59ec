#ifndef DORNIMAGE_PLATFORM_MEMORYSTREAM_H
#define DORNIMAGE_PLATFORM_MEMORYSTREAM_H

#include "base/Export.h"
#include "platform/Stream.h"

#include <cstddef>

namespace dornplatform {

/* Read-only streams over `size` bytes of memory, standing at the start, with a count of 1 that the caller
   gives back with Release. Null when `data` is null and `size` is not 0. They have no name to tell in Stat.
 */

/* On a copy of the bytes. */
DORNIMAGE_API IStream* createMemoryStream(const void* data, std::size_t size);
/* On the bytes where they are: they must stay, unchanged, as long as the stream. */
DORNIMAGE_API IStream* borrowMemoryStream(const void* data, std::size_t size);

} // namespace dornplatform

#endif
