#ifndef DORNIMAGE_PLATFORM_FILESTATE_H
#define DORNIMAGE_PLATFORM_FILESTATE_H

#include "base/Export.h"

#include <cstdint>
#include <string>

namespace dornplatform {

/* Which file a name leads to and how it stands: equal for the same file as long as nobody wrote to it. */
struct FileState {
    std::uint64_t device;            /* the file system that holds it */
    std::uint64_t number;            /* of the file in that file system */
    std::int64_t size;               /* bytes */
    std::int64_t writtenSeconds;     /* last written, since the year 1970 */
    std::int64_t writtenNanoseconds; /* and the part of a second */

    /* Equal in all five. */
    bool operator==(const FileState& other) const {
        return device == other.device && number == other.number && size == other.size &&
               writtenSeconds == other.writtenSeconds && writtenNanoseconds == other.writtenNanoseconds;
    }
    bool operator!=(const FileState& other) const { return !(*this == other); }
};

/* The state of a file, links followed; false, and the state as it was, when there is none. */
DORNIMAGE_API bool getFileState(const std::string& name, FileState& state);

} // namespace dornplatform

#endif
