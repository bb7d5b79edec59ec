#ifndef DORNIMAGE_PLATFORM_FILESTATE_H
#define DORNIMAGE_PLATFORM_FILESTATE_H

#include "base/Export.h"

#include <cstdint>
#include <string>

namespace dornplatform {

/* Which file a name leads to and how it stands: equal for the same file as long as nobody wrote to it. */
struct FileState {
    std::uint64_t device;
    std::uint64_t number;
    std::int64_t size;
    std::int64_t writtenSeconds;
    std::int64_t writtenNanoseconds;

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
