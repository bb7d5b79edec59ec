#include "Commands.h"
#include "Normalise.h"
#include "PageRun.h"
#include "PictureWriter.h"
#include "SkewMeasure.h"
#include "SkewPicture.h"
#include "SkewReach.h"
#include "Text.h"

#include <cmath>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

namespace {

using DornImage::Image;
using DornImage::Reference;
using nlohmann::ordered_json;

constexpr double degree = 3.141592653589793 / 180;

struct Options {
    PageRun run;
    double reach = defaultReach;
    std::string picture;
};

// The angle on paper where the pixels are not square.
double onPaper(double angle, FIBITMAP* bitmap) {
    const double x = FreeImage_GetDotsPerMeterX(bitmap);
    const double y = FreeImage_GetDotsPerMeterY(bitmap);
    return x > 0 && y > 0 ? std::atan(std::tan(angle * degree) * x / y) / degree : angle;
}

double rounded(double value) {
    return std::round(value * 1000) / 1000;
}

ordered_json toJson(const SkewMeasure& measure, double angle, const std::string& from) {
    const ordered_json none = nullptr;
    return {
        {"angle", measure.angle ? ordered_json(rounded(angle)) : none},
        {"angleInPixels", measure.angle ? ordered_json(rounded(*measure.angle)) : none},
        {"confidence", rounded(measure.confidence)},
        {"reason", measure.angle ? none : ordered_json(measure.reason)},
        {"normalisedFrom", from.empty() ? none : ordered_json(from)},
        {"threshold", measure.threshold},
        {"clearness", rounded(measure.clearness)},
        {"partsCompared", measure.partsCompared},
        {"partSpread", rounded(measure.partSpread)},
        {"methodGap", rounded(measure.methodGap)},
    };
}

std::string toText(const SkewMeasure& measure, double angle) {
    if (!measure.angle) {
        return "no skew measured: " + measure.reason;
    }
    // No minus sign before a zero.
    const double shown = std::abs(angle) < 0.005 ? 0 : angle;
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << shown << " degrees, confidence " << measure.confidence;
    return text.str();
}

class Skew {
public:
    explicit Skew(const Options& options) : options_(options) {}

    ExitCode run() {
        if (!options_.picture.empty()) {
            formatForWriting(options_.picture, ""); // a name that can't be written is told before the work
        }
        const ExitCode code =
            lookAtPages(options_.run, messages_, [this](const Source& source, int page, Image& image, bool) {
                return look(source, page, image);
            });
        return code == ExitCode::done && !allMeasured_ ? ExitCode::undecided : code;
    }

private:
    ordered_json look(const Source& source, int page, Image& image) {
        const GreyImage grey = normalised(image, source.name());
        const SkewMeasure measure = measureSkew(grey.image->getFIBTMAP(), options_.reach);
        const double angle = onPaper(measure.angle.value_or(0), image.getFIBTMAP());
        allMeasured_ = allMeasured_ && measure.angle;
        if (!options_.picture.empty()) {
            writePicture(measure);
        }
        if (!options_.run.json) {
            std::cout << pageName(source, page) << ": " << toText(measure, angle);
            if (!grey.from.empty()) {
                std::cout << " (" << grey.from << ", normalised to 8-bit grey)";
            }
            std::cout << '\n';
        }
        return toJson(measure, angle, grey.from);
    }

    void writePicture(const SkewMeasure& measure) {
        const FREE_IMAGE_FORMAT format = formatForWriting(options_.picture, "");
        const Reference<Image> picture(new dornbase::ReferencedImplMT<Image>());
        picture->Attach(drawSkew(measure));
        PictureWriter(options_.picture, format, std::nullopt, messages_).writeSingle(*picture);
    }

    const Options& options_;
    CodecMessages messages_;
    bool allMeasured_ = true;
};

} // namespace

void addSkewCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "skew",
        "Measure by how many degrees the text lines of pages are off the horizontal: above 0 when they "
        "fall to the right, below 0 when they rise. Says why where it does not know (exit code 6).");
    command->add_option("FILE", options->run.files, "Picture files")->required();
    CLI::Option* const page =
        command
            ->add_option("--page", options->run.page, "Measure this page only, counted from 1 (default: all)")
            ->check(CLI::PositiveNumber);
    addReachOption(*command, options->reach);
    command->add_flag("--json", options->run.json, "Print an array with one object per file");
    addDecodingOptions(*command, options->run.decoding);
    command
        ->add_option("--picture", options->picture,
                     "Draw the page with lines in the measured direction beside the votes of all directions; "
                     "for one FILE and with --page")
        ->type_name("FILE")
        ->needs(page);
    command->callback([options, &action] {
        if (!options->picture.empty() && options->run.files.size() > 1) {
            throw CLI::ValidationError("--picture", "draws one page of one FILE");
        }
        action = [options] { return Skew(*options).run(); };
    });
}
