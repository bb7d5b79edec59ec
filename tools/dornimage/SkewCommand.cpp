#include "Commands.h"
#include "PictureWriter.h"
#include "SkewMeasure.h"
#include "SkewPicture.h"
#include "Source.h"
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
    std::vector<std::string> files;
    int page = 0; // 0: all of them
    double reach = 16;
    bool json = false;
    std::string picture;
};

// What the page was before it was made 8-bit grey, or nothing when it was that.
std::string normalisedFrom(Image& image) {
    FIBITMAP* const bitmap = image.getFIBTMAP();
    const FREE_IMAGE_TYPE type = FreeImage_GetImageType(bitmap);
    if (type != FIT_BITMAP) {
        return pixelTypeName(type);
    }
    const bool grey = image.GetBpp() == 8 && FreeImage_GetColorType(bitmap) == FIC_MINISBLACK;
    return grey ? "" : countOf(image.GetBpp(), "bit");
}

// The angle on paper where the pixels are not square.
double onPaper(double angle, FIBITMAP* bitmap) {
    const double x = FreeImage_GetDotsPerMeterX(bitmap);
    const double y = FreeImage_GetDotsPerMeterY(bitmap);
    return x > 0 && y > 0 ? std::atan(std::tan(angle * degree) * x / y) / degree : angle;
}

double rounded(double value) {
    return std::round(value * 1000) / 1000;
}

ordered_json toJson(int page, const SkewMeasure& measure, double angle, const std::string& from) {
    const ordered_json none = nullptr;
    return {
        {"page", page},
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

/// Measures one file after the other, for standard output and, for --json, into `list`.
class FileReport {
public:
    FileReport(const Options& options, ordered_json& list) : options_(options), list_(list) {}

    /// Whether all pages that were asked for could be read.
    bool measure(const std::string& name) {
        ordered_json entry = {{"file", name}, {"ok", true}, {"pages", ordered_json::array()}};
        try {
            Source source(name, messages_, Frames::played);
            const int first = options_.page == 0 ? 1 : options_.page;
            const int last = options_.page == 0 ? source.pageCount() : options_.page;
            for (int page = first; page <= last; ++page) {
                measure(source, page, entry);
            }
        } catch (const ToolError& error) {
            if (error.code() != ExitCode::input) {
                throw;
            }
            report(name, error.what());
            entry["ok"] = false;
            entry["error"] = error.what();
        }
        const bool ok = entry["ok"];
        list_.push_back(std::move(entry));
        return ok;
    }

    /// Whether every page that could be read gave an angle.
    bool allMeasured() const { return allMeasured_; }

private:
    // One bad page among many does not hide the others.
    void measure(Source& source, int page, ordered_json& entry) {
        try {
            const Page loaded = source.load(page);
            for (const std::string& message : loaded.messages) {
                report(source.name(), message);
            }
            entry["pages"].push_back(measure(source, page, *loaded.image));
        } catch (const ToolError& error) {
            if (error.code() != ExitCode::input || source.pageCount() == 1 || options_.page != 0) {
                throw;
            }
            entry["ok"] = false;
            entry["pages"].push_back({{"page", page}, {"error", error.what()}});
            report(source.name(), error.what());
        }
    }

    ordered_json measure(const Source& source, int page, Image& image) {
        const std::string from = normalisedFrom(image);
        Reference<Image> grey;
        if (!image.convertToGrayscale(grey)) {
            throw ToolError(ExitCode::input, source.name(),
                            "a picture of the kind " + from + " cannot be made 8-bit grey");
        }
        const SkewMeasure measure = measureSkew(grey->getFIBTMAP(), options_.reach);
        const double angle = onPaper(measure.angle.value_or(0), image.getFIBTMAP());
        allMeasured_ = allMeasured_ && measure.angle;
        if (!options_.picture.empty()) {
            writePicture(measure);
        }
        if (!options_.json) {
            std::cout << printable(source.name());
            if (source.pageCount() > 1) {
                std::cout << " page " << page;
            }
            std::cout << ": " << toText(measure, angle);
            if (!from.empty()) {
                std::cout << " (" << from << ", normalised to 8-bit grey)";
            }
            std::cout << '\n';
        }
        return toJson(page, measure, angle, from);
    }

    void writePicture(const SkewMeasure& measure) {
        const FREE_IMAGE_FORMAT format = formatForWriting(options_.picture, "");
        Reference<Image> picture;
        picture = new dornbase::ReferencedImplMT<Image>();
        picture->Attach(drawSkew(measure));
        PictureWriter(options_.picture, format, std::nullopt, messages_).writeSingle(*picture);
    }

    const Options& options_;
    ordered_json& list_;
    CodecMessages messages_;
    bool allMeasured_ = true;
};

ExitCode run(const Options& options) {
    if (!options.picture.empty()) {
        formatForWriting(options.picture, ""); // a name that can't be written is told before the work
    }
    ordered_json list = ordered_json::array();
    FileReport fileReport(options, list);
    std::size_t failed = 0;
    for (const std::string& file : options.files) {
        failed += fileReport.measure(file) ? 0 : 1;
    }
    if (options.json) {
        printJson(list);
    }
    if (failed == 0) {
        return fileReport.allMeasured() ? ExitCode::done : ExitCode::undecided;
    }
    return failed == options.files.size() ? ExitCode::input : ExitCode::some;
}

} // namespace

void addSkewCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "skew",
        "Measure by how many degrees the text lines of pages are off the horizontal: above 0 when they "
        "fall to the right, below 0 when they rise. Says why where it does not know (exit code 6).");
    command->add_option("FILE", options->files, "Picture files")->required();
    CLI::Option* const page =
        command->add_option("--page", options->page, "Measure this page only, counted from 1 (default: all)")
            ->check(CLI::PositiveNumber);
    command->add_option("--reach", options->reach, "Greatest angle to look for, in degrees (default 16)")
        ->check(CLI::Range(2.0, 45.0));
    command->add_flag("--json", options->json, "Print an array with one object per file");
    command
        ->add_option("--picture", options->picture,
                     "Draw the page with lines in the measured direction beside the votes of all directions; "
                     "for one FILE and with --page")
        ->needs(page);
    command->callback([options, &action] {
        if (!options->picture.empty() && options->files.size() > 1) {
            throw CLI::ValidationError("--picture", "draws one page of one FILE");
        }
        action = [options] { return run(*options); };
    });
}
