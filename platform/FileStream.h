#ifndef DORNIMAGE_PLATFORM_FILESTREAM_H
#define DORNIMAGE_PLATFORM_FILESTREAM_H

#include "base/Export.h"
#include "base/Velmora.h"
#include "platform/Stream.h"

namespace dornplatform {

/* A read-only stream over a file, standing at the start, with a count of 1 that the caller gives back with
   Release; the file is closed with the stream. The name goes to the system as it is, and is not told in Stat.
   Null when the file can't be opened or isn't a regular file. */
DORNIMAGE_API IStream* createFileStream(const Velmora::u8string& fileName);

} // namespace dornplatform

#endif
