#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_READGUARD_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_READGUARD_H

#include <FreeImage.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace DornImage {

/// Ends loads that would never end, or end the process. Some codecs of FreeImage go on asking for the rest of
/// a file that was cut or can't be read, and don't look at what they get. The callbacks through which a codec
/// reads tell each read to a guard, which throws when too many in a row got nothing. These codecs are C++;
/// the others are left alone, because some of them ask once for each pixel that is missing, and then deliver
/// what there is.
class ReadGuard {
public:
    /// @param format what the codec reads; any other is not guarded.
    explicit ReadGuard(FREE_IMAGE_FORMAT format)
        : mostMisses(mostMissesOf(format)), clears(format == FIF_GIF || format == FIF_WBMP),
          isPsd(format == FIF_PSD), isTarga(format == FIF_TARGA) {}

    /// Tells of one read, with the arguments of the callback. Throws std::runtime_error when the codec is to
    /// be stopped.
    /// @param items what the read got.
    void note(void* buffer, unsigned itemSize, unsigned itemCount, unsigned items) {
        if (itemSize != 0 && itemCount != 0) {
            misses = items == 0 ? misses + 1 : 0;
        }
        if (clears && items < itemCount) {
            std::memset(static_cast<char*>(buffer) + std::size_t{items} * itemSize, 0,
                        std::size_t{itemCount - items} * itemSize);
        }
        if (misses > mostMisses) {
            stop();
        }
        if (isPsd) {
            notePsd(buffer, itemSize, itemCount, items);
        }
    }

    /// Whether notePosition has to be told.
    bool wantsPosition() const { return isTarga; }

    /// Tells of a position that the codec has asked for.
    /// @param size of the file. The codec of Targa counts the bytes from here to the end, and when that is
    ///        less than nothing, it delivers a picture that it has given back to the memory.
    void notePosition(std::uint64_t position, std::uint64_t size) const {
        if (isTarga && position > size) {
            throw "the pixels lie behind the end of the file"; // the codec's own kind: it cleans up
        }
    }

private:
    [[noreturn]] static void stop() {
        throw std::runtime_error("the codec reads behind the end of the file");
    }

    // Rows may be missing. But the codec of PSD doesn't look whether it got the lengths of packed rows, and
    // unpacks what it didn't get to memory that isn't its own.
    void notePsd(void* buffer, unsigned itemSize, unsigned itemCount, unsigned items) {
        constexpr unsigned lengthBytes = 2;
        const bool isLengths = itemSize == lengthBytes && itemCount > 1;
        const bool isShort = items < itemCount;
        if (isLengths && isShort) {
            stop();
        }
        // What comes after a row that was missing is a row's end, where the source stays in its place.
        isPackedEnd = isPackedEnd || (isPacked && isShort);
        if (isPackedEnd) {
            packZeros(static_cast<unsigned char*>(buffer), std::size_t{itemSize} * itemCount);
        }
        isPacked = isPacked || isLengths;
    }

    // Two bytes for each pixel, the code for one and its value. The first code is for two if the length is
    // odd.
    static void packZeros(unsigned char* buffer, std::size_t length) {
        if (length == 1) {
            stop();
        }
        std::memset(buffer, 0, length);
        if (length > 0) {
            buffer[0] = length % 2;
        }
    }

    static unsigned mostMissesOf(FREE_IMAGE_FORMAT format) {
        switch (format) {
        case FIF_EXR:
        case FIF_GIF:
        case FIF_IFF:
        case FIF_JNG:
        case FIF_MNG:
        case FIF_PICT:
        case FIF_XBM:
            return 2000; // that of XBM ends by itself after 512, if there is no beginning
        default:
            return std::numeric_limits<unsigned>::max();
        }
    }

    unsigned mostMisses;
    bool clears; // else what the buffer happens to hold counts: sides of up to gigabytes in a GIF, and
                 // numbers that go on and on in a WBMP
    bool isPsd;
    bool isTarga;
    bool isPacked = false; // the rows of a PSD file, which come now
    bool isPackedEnd = false;
    unsigned misses = 0;
};

} // namespace DornImage

#endif
