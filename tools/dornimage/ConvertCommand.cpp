#include "Commands.h"
#include "PageTransform.h"
#include "Text.h"

#include <memory>

namespace {

using DornImage::Image;
using DornImage::Reference;

struct Options {
    TransformOptions pages;
    std::string to;
};

Reference<Image> converted(const Reference<Image>& image, const std::string& to) {
    Reference<Image> result;
    if (to == "8") {
        image->convertTo8Bits(result);
    } else if (to == "grey") {
        image->convertToGrayscale(result);
    } else if (to == "24") {
        // FreeImage makes 24 bits of 16-bit grey by way of 8-bit grey only.
        Reference<Image> grey = image;
        if (FreeImage_GetImageType(image->getFIBTMAP()) != FIT_UINT16 || image->convertToGrayscale(grey)) {
            grey->convertTo24Bits(result);
        }
    } else {
        result = image;
    }
    return result;
}

ExitCode convert(const Options& options) {
    return transformPages(options.pages, [&options](const Reference<Image>& page) {
        Reference<Image> result = converted(page, options.to);
        if (!result) {
            const FREE_IMAGE_TYPE type = FreeImage_GetImageType(page->getFIBTMAP());
            throw ToolError(ExitCode::input, options.pages.input,
                            "a picture of the kind " + pixelTypeName(type) +
                                " cannot be converted with --to " + options.to);
        }
        return result;
    });
}

} // namespace

void addConvertCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "convert",
        "Write a picture in another format or depth. All pages of a file with several go to a format "
        "that holds several (TIFF, GIF, ICO), else the first one.");
    addTransformOptions(*command, options->pages);
    command->add_option("--to", options->to, "Depth: 8 bits, 24 bits, or 8-bit grey (default: as it is)")
        ->check(CLI::IsMember({"8", "24", "grey"}));
    command->callback([options, &action] { action = [options] { return convert(*options); }; });
}
