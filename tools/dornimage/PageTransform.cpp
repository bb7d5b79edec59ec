#include "PageTransform.h"

#include "OutputFile.h"
#include "PageFacts.h"
#include "PictureWriter.h"
#include "Text.h"

namespace {

using DornImage::Image;
using DornImage::Reference;

class Transformation {
public:
    Transformation(const TransformOptions& options, const NumberedPageWork& work)
        : options_(options), work_(work) {}

    ExitCode run() {
        const FREE_IMAGE_FORMAT format = formatForWriting(options_.output, options_.format);
        keepsExif_ = keepsExif(format);
        // The frames of an animation stay what they are in another animation; everywhere else a page is what
        // is seen of it.
        Source source(options_.input, messages_, format == FIF_GIF ? Frames::stored : Frames::played,
                      options_.decoding);
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
        const Reference<Image> page = load(source, options_.page == 0 ? 1 : options_.page);
        const bool sameFile = options_.copiesUnchanged && source.pageCount() == 1 &&
                              source.format() == format && !options_.flags;
        if (sameFile && left_) {
            copyFile(options_.input, options_.output);
        } else {
            writer.writeSingle(*page);
        }
        return ExitCode::done;
    }

private:
    Reference<Image> load(Source& source, int page) {
        Page loaded = source.load(page);
        for (const std::string& message : loaded.messages) {
            report(options_.input, message);
        }
        Reference<Image> result = work_(source, page, loaded.image);
        left_ = result.get() == loaded.image.get();
        const int orientation = exifOrientation(result->getFIBTMAP()).value_or(1);
        if (orientation != 1 && !keepsExif_) {
            report(options_.input, orientationLost(orientation));
        }
        return result;
    }

    const TransformOptions& options_;
    const NumberedPageWork& work_;
    bool keepsExif_ = true;
    bool left_ = false; // the work left the last page as it is
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
    addDecodingOptions(command, options.decoding);
}

ExitCode transformPages(const TransformOptions& options, const NumberedPageWork& work) {
    return Transformation(options, work).run();
}

ExitCode transformPages(const TransformOptions& options, const PageWork& work) {
    return transformPages(options,
                          [&](const Source&, int, const Reference<Image>& page) { return work(page); });
}
