#include "PageTransform.h"

#include "PageFacts.h"
#include "PictureWriter.h"
#include "Source.h"
#include "Text.h"

namespace {

using DornImage::Image;
using DornImage::Reference;

// FreeImage's writers of these formats store a picture's EXIF data.
bool keepsExif(FREE_IMAGE_FORMAT format) {
    return format == FIF_JPEG || format == FIF_WEBP || format == FIF_PSD;
}

class Transformation {
public:
    Transformation(const TransformOptions& options, const PageWork& work) : options_(options), work_(work) {}

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
        return work_(loaded.image);
    }

    const TransformOptions& options_;
    const PageWork& work_;
    bool keepsExif_ = true;
    CodecMessages messages_;
};

} // namespace

void addTransformOptions(CLI::App& command, TransformOptions& options) {
    command.add_option("IN", options.input, "Picture file to read")->required();
    command.add_option("OUT", options.output, "Picture file to write; may be IN")->required();
    command
        .add_option("--format", options.format,
                    "Format to write, by name, extension or MIME type (default: by the name of OUT)")
        ->type_name("FORMAT");
    command.add_option("--page", options.page, "Take this page only, counted from 1")
        ->check(CLI::PositiveNumber);
    command.add_option("--flags", options.flags, "FreeImage's save flags of the format, as a number");
}

ExitCode transformPages(const TransformOptions& options, const PageWork& work) {
    return Transformation(options, work).run();
}
