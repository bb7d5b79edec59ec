#include "Turn.h"

#include "ExitCode.h"

using DornImage::Image;
using DornImage::Reference;

Point middleOf(Image& page) {
    return {(page.GetWidth() - 1) / 2.0, (page.GetHeight() - 1) / 2.0};
}

Reference<Image> turnedAbout(Point center, double clockwise, const Reference<Image>& page,
                             PlainColours& colours, const std::string& file) {
    return colours.through(page, [&](const Reference<Image>& plain) {
        const double fromBottom = plain->GetHeight() - 1 - center.y;
        Reference<Image> result;
        plain->RotateEx(clockwise, center.x, fromBottom, result);
        // Where the pixels can't be turned there is an image without any.
        if (!result || !result->getFIBTMAP()) {
            throw ToolError(ExitCode::limits, file,
                            "cannot be turned: it is one pixel wide or high, the numbers are too large, or "
                            "memory runs out");
        }
        return result;
    });
}
