#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_UNICODEFILEIO_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_UNICODEFILEIO_H

#include "base/Export.h"
#include "base/Velmora.h"

#include <FreeImage.h>

#include <cstdio>

namespace DornImage {

/// A file, opened by its wide name, that the codec library reads or writes through callbacks: pass `getIo`
/// and `getHandle` to a FreeImage call that takes a handle. The object owns the file and belongs to one
/// thread.
///
/// A copy holds the same open file, and both would close it: copy closed objects only. A second `init`
/// forgets the file that was open before without closing it.
class DORNIMAGE_API FreeImageUnicodeFileIo {
public:
    FreeImageUnicodeFileIo() = default;
    FreeImageUnicodeFileIo(const FreeImageUnicodeFileIo&) = default;
    FreeImageUnicodeFileIo& operator=(const FreeImageUnicodeFileIo&) = default;
    /// Closes the file.
    virtual ~FreeImageUnicodeFileIo();

    /// Opens `name` for reading, or makes it an empty file for writing and reading back. Returns whether it
    /// is open; if not, `getHandle` is null.
    bool init(const Velmora::pstring& name, bool forWrite);

    /// The callbacks, to be used after a successful `init` and as long as the object lives.
    FreeImageIO* getIo() { return &io; }
    /// The open file as the codec library's opaque handle, or null.
    fi_handle getHandle() { return handle; }
    /// The name that the file was opened with; empty before that.
    const Velmora::pstring& getFileName() const { return fileName; }

private:
    Velmora::pstring fileName;
    std::FILE* handle = nullptr;
    FreeImageIO io{};
};

} // namespace DornImage

#endif
