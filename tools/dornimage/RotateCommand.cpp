#include "Commands.h"
#include "OutputFile.h"
#include "PageTransform.h"
#include "PictureWriter.h"
#include "QuarterTurn.h"
#include "Text.h"
#include "Turn.h"

#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace {

using DornImage::Image;
using DornImage::Reference;

struct Options {
    TransformOptions pages;
    double angle = 0;
    std::vector<double> center; // empty: the middle of each page
    bool lossless = false;
};

// The multiple of 90 degrees from 0 to 270 that the angle is, or -1.
int quarterTurnOf(double angle) {
    const double within = std::fmod(std::fmod(angle, 360) + 360, 360);
    return std::fmod(within, 90) == 0 ? static_cast<int>(within) : -1;
}

// Save flags with which the format keeps every pixel.
int losslessFlags(FREE_IMAGE_FORMAT format, const std::string& output) {
    switch (format) {
    case FIF_JPEG:
    case FIF_JNG:
    case FIF_HDR:
    case FIF_J2K:
    case FIF_JP2:
    case FIF_JXR:
        throw ToolError(ExitCode::usage, output,
                        formatName(format) + " pictures cannot be written without loss" +
                            (format == FIF_JPEG ? " except from JPEG" : ""));
    case FIF_WEBP:
        return WEBP_LOSSLESS;
    case FIF_EXR:
        return EXR_FLOAT;
    default:
        return 0; // TIFF gets LZW or fax coding
    }
}

DornImage::JpegOperation jpegOperation(int quarter) {
    return quarter == 90    ? DornImage::JpegOperation::rotate90
           : quarter == 180 ? DornImage::JpegOperation::rotate180
                            : DornImage::JpegOperation::rotate270;
}

ExitCode rotateJpegFile(const TransformOptions& pages, int quarter) {
    if (quarter == 0) {
        copyFile(pages.input, pages.output);
    } else if (!turnJpegFile(pages.input, pages.output, jpegOperation(quarter), false)) {
        throw ToolError(ExitCode::input, pages.input,
                        "cannot be turned without loss: blocks at its edge are incomplete, or it is damaged");
    }
    return ExitCode::done;
}

ExitCode rotate(const Options& options) {
    TransformOptions pages = options.pages;
    const int quarter = quarterTurnOf(options.angle);
    if (options.lossless) {
        const FREE_IMAGE_FORMAT format = formatForWriting(pages.output, pages.format);
        CodecMessages messages;
        if (format == FIF_JPEG && pages.page <= 1 &&
            Source(pages.input, messages, Frames::stored, pages.decoding).format() == FIF_JPEG) {
            return rotateJpegFile(pages, quarter);
        }
        pages.flags = losslessFlags(format, pages.output);
    }
    PlainColours colours(pages.input, "turned");
    return transformPages(pages, [&](const Reference<Image>& page) {
        if (quarter == 0) {
            return page;
        }
        if (quarter > 0 && options.center.empty()) {
            return turned(page, quarter, colours);
        }
        const Point center =
            options.center.empty() ? middleOf(*page) : Point{options.center[0], options.center[1]};
        return turnedAbout(center, options.angle, page, colours, pages.input);
    });
}

std::string checkAngle(const std::string& text) {
    double value = 0;
    return CLI::detail::lexical_cast(text, value) && std::isfinite(value) ? "" : "not a number: " + text;
}

} // namespace

void addRotateCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "rotate",
        "Turn a picture clockwise. Right angles exchange the sides and keep every pixel; other angles, and "
        "turns about a given point, keep the size, and edge pixels go on into the corners.");
    addTransformOptions(*command, options->pages);
    options->pages.copiesUnchanged = true;
    command->add_option("--angle", options->angle, "Degrees clockwise; below 0 counter-clockwise")
        ->required()
        ->check(checkAngle);
    CLI::Option* const center =
        command
            ->add_option("--center", options->center,
                         "The pixel that stays where it is, as X,Y from the upper left corner (default: the "
                         "middle)")
            ->delimiter(',')
            ->type_name("X,Y")
            ->expected(2)
            ->check(checkAngle);
    command
        ->add_flag("--lossless", options->lossless,
                   "For right angles: a JPEG file is turned block by block with all its markers, or refused; "
                   "other formats are written without loss")
        ->excludes(center);
    command->callback([options, &action] {
        if (options->lossless && quarterTurnOf(options->angle) < 0) {
            throw CLI::ValidationError("--lossless", "only turns by multiples of 90 degrees are");
        }
        if (options->lossless && options->pages.flags) {
            throw CLI::ValidationError("--lossless", "chooses the flags by itself");
        }
        action = [options] { return rotate(*options); };
    });
}
