#include "PageDepth.h"

#include "ExitCode.h"
#include "Text.h"

using DornImage::Image;
using DornImage::Reference;

void addDepthOption(CLI::App& command, std::string& depth) {
    command.add_option("--to", depth, "Depth: 8 bits, 24 bits, or 8-bit grey (default: as it is)")
        ->check(CLI::IsMember({"8", "24", "grey"}));
}

Reference<Image> inDepth(const Reference<Image>& page, const std::string& depth, const std::string& file) {
    if (depth.empty()) {
        return page;
    }
    Reference<Image> result;
    const FREE_IMAGE_TYPE type = FreeImage_GetImageType(page->getFIBTMAP());
    if (depth == "8") {
        page->convertTo8Bits(result);
    } else if (depth == "grey") {
        page->convertToGrayscale(result);
    } else {
        // FreeImage makes 24 bits of 16-bit grey by way of 8-bit grey only.
        Reference<Image> grey = page;
        if (type != FIT_UINT16 || page->convertToGrayscale(grey)) {
            grey->convertTo24Bits(result);
        }
    }
    if (!result) {
        throw ToolError(ExitCode::input, file,
                        "a picture of the kind " + pixelTypeName(type) + " cannot be converted with --to " +
                            depth);
    }
    return result;
}
