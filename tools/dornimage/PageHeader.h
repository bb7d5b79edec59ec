#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PAGEHEADER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PAGEHEADER_H

#include "Source.h"

#include <optional>

/// What the header of a page tells before anything is decoded.
struct PageHeader {
    std::optional<PageSize> size;
    std::optional<int> tiffCoding; // FreeImage's save flag for the coding of a page in a TIFF
    bool joinable = false;         // TiffJoiner takes the page as it is
};

/// Reads the header of a page, counted from 1. Where it cannot be read nothing is known of the page; why is
/// told when the page is decoded.
PageHeader headerOf(Source& source, int page, CodecMessages& messages);

#endif
