#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_READGUARD_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_READGUARD_H

#include <FreeImage.h>

#include <limits>
#include <stdexcept>

namespace DornImage {

/// Ends loads that would never end, or end the process. Some codecs of FreeImage go on asking for the rest of
/// a file that was cut or can't be read, and don't look at what they get; that of PSD clears memory that
/// isn't its own. The callbacks through which a codec reads tell each read to a guard, which throws when too
/// many in a row got nothing. These codecs are C++; the others are left alone, because some of them ask once
/// for each pixel that is missing, and then deliver what there is.
class ReadGuard {
public:
    /// @param format what the codec reads; any other is not guarded.
    explicit ReadGuard(FREE_IMAGE_FORMAT format) : mostMisses(mostMissesOf(format)) {}

    /// Tells of one read. Throws std::runtime_error when the codec is to be stopped.
    /// @param wanted whether the read asked for anything.
    /// @param items what it got.
    void note(bool wanted, unsigned items) {
        if (wanted) {
            misses = items == 0 ? misses + 1 : 0;
        }
        if (misses > mostMisses) {
            throw std::runtime_error("the codec reads behind the end of the file");
        }
    }

private:
    static unsigned mostMissesOf(FREE_IMAGE_FORMAT format) {
        switch (format) {
        case FIF_PSD:
            return 0;
        case FIF_EXR:
        case FIF_GIF:
        case FIF_IFF:
        case FIF_JNG:
        case FIF_MNG:
        case FIF_PICT:
        case FIF_XBM:
            return 100;
        default:
            return std::numeric_limits<unsigned>::max();
        }
    }

    unsigned mostMisses;
    unsigned misses = 0;
};

} // namespace DornImage

#endif
