#include "Commands.h"
#include "PageFacts.h"
#include "PictureWriter.h"
#include "Source.h"
#include "Text.h"

#include <memory>
#include <optional>

namespace {

using DornImage::Image;
using DornImage::Reference;

struct Options {
    std::string input;
    std::string output;
    std::string format;
    std::string to;
    int page = 0; // 0: not given
    std::optional<int> flags;
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

// FreeImage's writers of these formats store a picture's EXIF data.
bool keepsExif(FREE_IMAGE_FORMAT format) {
    return format == FIF_JPEG || format == FIF_WEBP || format == FIF_PSD;
}

class Conversion {
public:
    explicit Conversion(const Options& options) : options_(options) {}

    ExitCode run() {
        const FREE_IMAGE_FORMAT format = formatForWriting(options_.output, options_.format);
        keepsExif_ = keepsExif(format);
        // The frames of an animation stay what they are in another animation; everywhere else a page is what
        // is seen of it.
        Source source(options_.input, messages_, format == FIF_GIF ? Frames::stored : Frames::played);
        PictureWriter writer(options_.output, format, options_.flags, messages_);
        if (options_.page == 0 && source.pageCount() > 1 && DornImage::FreeImage_IsMultiPageFormat(format)) {
            for (int page = 1; page <= source.pageCount(); ++page) {
                writer.append(*load(source, page));
            }
            writer.finish();
            return ExitCode::done;
        }
        if (options_.page == 0 && source.pageCount() > 1) {
            report(options_.input, "has " + countOf(source.pageCount(), "page") +
                                       ", only the first goes to the output; see --page");
        }
        writer.writeSingle(*load(source, options_.page == 0 ? 1 : options_.page));
        return ExitCode::done;
    }

private:
    Reference<Image> load(Source& source, int page) {
        Page loaded = source.load(page);
        for (const std::string& message : loaded.messages) {
            report(options_.input, message);
        }
        const int orientation = exifOrientation(loaded.image->getFIBTMAP()).value_or(1);
        if (orientation != 1 && !keepsExif_) {
            report(options_.input, "its EXIF orientation " + std::to_string(orientation) +
                                       " has no place in the output, which shows it as it is stored");
        }
        Reference<Image> result = converted(loaded.image, options_.to);
        if (!result) {
            const FREE_IMAGE_TYPE type = FreeImage_GetImageType(loaded.image->getFIBTMAP());
            throw ToolError(ExitCode::input, options_.input,
                            "a picture of the kind " + pixelTypeName(type) +
                                " cannot be converted with --to " + options_.to);
        }
        return result;
    }

    const Options& options_;
    bool keepsExif_ = true;
    CodecMessages messages_;
};

} // namespace

void addConvertCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "convert",
        "Write a picture in another format or depth. All pages of a file with several go to a format "
        "that holds several (TIFF, GIF, ICO), else the first one.");
    command->add_option("IN", options->input, "Picture file to read")->required();
    command->add_option("OUT", options->output, "Picture file to write; may be IN")->required();
    command->add_option("--format", options->format,
                        "Format to write, by name, extension or MIME type (default: by the name of OUT)");
    command->add_option("--page", options->page, "Convert this page only, counted from 1")
        ->check(CLI::PositiveNumber);
    command->add_option("--to", options->to, "Depth: 8 bits, 24 bits, or 8-bit grey (default: as it is)")
        ->check(CLI::IsMember({"8", "24", "grey"}));
    command->add_option("--flags", options->flags, "FreeImage's save flags of the format, as a number");
    command->callback([options, &action] { action = [options] { return Conversion(*options).run(); }; });
}
