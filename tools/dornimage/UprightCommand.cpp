#include "Commands.h"
#include "PageFacts.h"
#include "PageRun.h"
#include "PageTransform.h"
#include "PictureWriter.h"
#include "QuarterTurn.h"
#include "Text.h"

#include <iostream>
#include <memory>

namespace {

using DornImage::Image;
using DornImage::Reference;

// The EXIF orientation from 2 to 8 of a JPEG file that becomes a JPEG file, or 0.
int orientationOfJpeg(const TransformOptions& options) {
    if (formatForWriting(options.output, options.format) != FIF_JPEG || options.flags || options.page > 1) {
        return 0;
    }
    CodecMessages messages;
    Source source(options.input, messages, Frames::stored, options.decoding);
    if (source.format() != FIF_JPEG) {
        return 0;
    }
    const int orientation = exifOrientation(source.load(1).image->getFIBTMAP()).value_or(0);
    return orientation >= 2 && orientation <= 8 ? orientation : 0;
}

ExitCode makeUpright(TransformOptions options) {
    const int orientation = orientationOfJpeg(options);
    if (orientation != 0) {
        if (turnJpegFile(options.input, options.output, jpegOperationFor(orientation), true)) {
            std::cout << printable(options.input) << ": orientation " << orientation
                      << ", turned without loss\n";
            return ExitCode::done;
        }
        report(options.input, "decoded for the turn and coded anew: its size is not one of whole blocks");
        options.flags = JPEG_QUALITYSUPERB;
    }
    return transformPages(options, [&](const Source& source, int number, const Reference<Image>& page) {
        const UprightPage result = upright(page, options.input);
        std::cout << pageName(source, number) << ": "
                  << (result.orientation == 1
                          ? "upright already"
                          : "orientation " + std::to_string(result.orientation) + ", turned")
                  << '\n';
        return result.page;
    });
}

} // namespace

void addUprightCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<TransformOptions>();
    CLI::App* const command = app.add_subcommand(
        "upright",
        "Turn a camera picture as its EXIF orientation says, which becomes 1. From JPEG to JPEG nothing is "
        "lost and every marker kept, where the size is one of whole blocks.");
    addTransformOptions(*command, *options);
    options->copiesUnchanged = true;
    command->callback([options, &action] { action = [options] { return makeUpright(*options); }; });
}
