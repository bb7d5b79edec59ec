#ifndef DORNIMAGE_TOOLS_DORNIMAGE_TIFFJOINER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_TIFFJOINER_H

#include <memory>
#include <string>

struct tiff;

/// Writes a TIFF of several pages from TIFF files of one page. The coded picture data is taken over as it is:
/// each page keeps its own coding, and no page is held in memory. FreeImage's own multi-page files have one
/// set of flags for all pages, code each page twice, and don't tell when the disk is full.
class TiffJoiner {
public:
    /// Makes the file. `isOpen` tells whether that worked.
    explicit TiffJoiner(const std::string& path);

    bool isOpen() const { return out_ != nullptr; }

    /// Adds the first page of a TIFF in strips. False when that can't be read or this file can't be written;
    /// this file is of no use then.
    bool append(const std::string& pageFile);

    /// Ends the file.
    void close() { out_.reset(); }

private:
    struct Close {
        void operator()(tiff* file) const;
    };
    using File = std::unique_ptr<tiff, Close>;

    File out_;
    unsigned pages_ = 0;
};

#endif
