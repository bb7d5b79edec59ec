#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PAGESCALE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PAGESCALE_H

#include "ExitCode.h"
#include "PlainColours.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <string>
#include <vector>

/// A width and a height in pixels that need not be whole yet.
struct Size {
    double width;
    double height;
};

/// The highest resolution that pages are brought to, dots per inch.
constexpr unsigned greatestDpi = 1000000;

/// How to interpolate where a side becomes larger.
struct ScaleMethod {
    const char* name;
    DornImage::Image::ScaleType type;
    unsigned leastSide; // of a source, in pixels
};

const std::vector<ScaleMethod>& scaleMethods();

/// The one of that name, which has to be there.
const ScaleMethod& scaleMethod(const std::string& name);

/// Changes the size of the pages of one file for an output of one format.
class PageScale {
public:
    /// @param file the input, for errors.
    /// @param target the format that is to hold the results.
    /// @param say gets what had to be changed on the way.
    PageScale(std::string file, FREE_IMAGE_FORMAT target, const ScaleMethod& method, Say say);

    /// The page with these sides, rounded to whole pixels and at least 1; its size on paper stays. Throws
    /// ToolError: ExitCode::input for pixels that can't be scaled, ExitCode::limits for a result above 2 GiB.
    DornImage::Reference<DornImage::Image> toSize(const DornImage::Reference<DornImage::Image>& page,
                                                  Size wanted) const;

    /// The page in this resolution on both axes, by its own; its size on paper stays. Throws as toSize.
    DornImage::Reference<DornImage::Image> toDpi(const DornImage::Reference<DornImage::Image>& page,
                                                 unsigned dpi) const;

private:
    Size checked(DornImage::Image& page, Size wanted) const;
    DornImage::Reference<DornImage::Image> scalable(const DornImage::Reference<DornImage::Image>& page) const;
    [[noreturn]] void failToScale(const DornImage::Image& page, unsigned width, unsigned height) const;
    [[noreturn]] void fail(ExitCode code, const std::string& cause) const;

    std::string file_;
    FREE_IMAGE_FORMAT target_;
    const ScaleMethod& method_;
    Say say_;
};

/// Gives a bitmap the colour profile of another one, which is no metadata to FreeImage.
void copyProfile(FIBITMAP* source, FIBITMAP* target);

#endif
