#ifndef DORNIMAGE_TOOLS_DORNIMAGE_DECODEPROTOCOL_H
#define DORNIMAGE_TOOLS_DORNIMAGE_DECODEPROTOCOL_H

#include "PageReader.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>

// What the tool and the process that decodes for it say to each other. Both are the same program, so numbers
// go as they lie in memory. The decoder may have been taken over by a file: nothing that it answers is
// trusted.

/// The first argument that makes the tool serve as the decoder.
constexpr char decoderArgument[] = "decode-pages";

/// Where the decoder finds the picture file and its end of the talk.
constexpr int pictureDescriptor = 3;
constexpr int talkDescriptor = 4;

/// The first thing said to the decoder.
struct OpenRequest {
    std::uint64_t memory;      // bytes
    std::int32_t formatByName; // FREE_IMAGE_FORMAT
    std::int32_t frames;       // Frames
};

/// What is said for each page from then on.
struct PageRequest {
    std::int32_t page;       // from 1
    std::int32_t headerOnly; // 1: only the size is asked for
};

/// The answer to OpenRequest.
struct OpenReply {
    std::int32_t format;
    std::int32_t pageCount;
    std::int32_t confined; // 1: the kernel refuses what the decoder needs no more
};

/// All kinds of metadata that a bitmap may carry, in the order in which they are sent.
constexpr FREE_IMAGE_MDMODEL metadataModels[] = {
    FIMD_COMMENTS, FIMD_EXIF_MAIN, FIMD_EXIF_EXIF, FIMD_EXIF_GPS,  FIMD_EXIF_MAKERNOTE, FIMD_EXIF_INTEROP,
    FIMD_IPTC,     FIMD_XMP,       FIMD_GEOTIFF,   FIMD_ANIMATION, FIMD_CUSTOM,         FIMD_EXIF_RAW,
};

/// Where bytes of an answer come from, and go to.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    /// Throws when there are not as many.
    virtual void read(void* to, std::size_t bytes) = 0;
};

class ByteSink {
public:
    virtual ~ByteSink() = default;
    virtual void write(const void* from, std::size_t bytes) = 0;
};

/// An answer that no sound decoder gives.
struct BadReply : std::runtime_error {
    BadReply() : std::runtime_error("the decoder answered nonsense") {}
};

/// Answers to a PageRequest. `needsMemory`: there is no bitmap because memory ran out.
void writePage(ByteSink& sink, const DecodedPage& page, bool needsMemory);
void writeSize(ByteSink& sink, const std::optional<PageSize>& size);

/// A page with its bitmap made anew, and whether the decoder ran out of memory. Throws BadReply for an answer
/// that contradicts itself or FreeImage, or that is longer than `limit` bytes.
struct PageReply {
    DecodedPage page;
    bool needsMemory = false;
};
PageReply readPage(ByteSource& source, std::uint64_t limit);

/// Throws BadReply.
std::optional<PageSize> readSize(ByteSource& source);

/// Throws BadReply for a format that isn't there or a count that isn't positive.
FileContents contentsOf(const OpenReply& reply);

#endif
