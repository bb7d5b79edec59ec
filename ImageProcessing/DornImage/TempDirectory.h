#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_TEMPDIRECTORY_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_TEMPDIRECTORY_H

#include "base/Export.h"
#include "base/Velmora.h"

namespace DornImage {

/// Owner of one temporary directory, which goes with all that is in it when the owner goes.
///
/// Copies copy the path: both then name one directory and the first to go deletes it. An assignment forgets
/// the directory held before without deleting it.
class DORNIMAGE_API TempDirectory {
public:
    TempDirectory() = default;
    TempDirectory(const TempDirectory&) = default;
    TempDirectory& operator=(const TempDirectory&) = default;
    ~TempDirectory();

    /// Deletes the directory that is held and makes a new one, for this user alone, in the system's temporary
    /// place. Its name starts with `prefix`. On false no directory is held.
    bool create(const Velmora::u8string& prefix);

    /// Full path of the directory, empty when none is held.
    const Velmora::u8string& path() const { return path_; }

private:
    void remove();

    Velmora::u8string path_;
};

} // namespace DornImage

#endif
