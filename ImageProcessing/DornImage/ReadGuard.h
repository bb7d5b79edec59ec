#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_READGUARD_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_READGUARD_H

#include <FreeImage.h>

#include <stdexcept>

namespace DornImage {

/// Ends loads that would never end. Some codecs of FreeImage go on asking for the rest of a file that was
/// cut, and don't look at what they get. The callbacks through which a codec reads tell each read to a guard,
/// which throws when a hundred in a row got nothing. These codecs are C++; the others are left alone, because
/// some of them ask once for each pixel that is missing, and then deliver what there is.
class ReadGuard {
public:
    explicit ReadGuard(FREE_IMAGE_FORMAT format)
        : isOn(format == FIF_EXR || format == FIF_GIF || format == FIF_IFF || format == FIF_JNG ||
               format == FIF_MNG || format == FIF_PICT || format == FIF_XBM) {}

    /// @param items what the read got.
    void note(unsigned items) {
        misses = items == 0 ? misses + 1 : 0;
        if (isOn && misses > mostMisses) {
            throw std::runtime_error("the codec reads behind the end of the file for ever");
        }
    }

private:
    static constexpr unsigned mostMisses = 100;

    bool isOn;
    unsigned misses = 0;
};

} // namespace DornImage

#endif
