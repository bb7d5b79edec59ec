#include "Commands.h"
#include "Normalise.h"
#include "PageRun.h"
#include "PageTransform.h"
#include "SkewMeasure.h"
#include "SkewReach.h"
#include "Text.h"
#include "Turn.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

namespace {

using DornImage::Image;
using DornImage::Reference;

constexpr double degree = 3.141592653589793 / 180;

struct Options {
    TransformOptions pages;
    double reach = defaultReach;
};

std::string degrees(double angle) {
    // No minus sign before a zero.
    const double shown = std::abs(angle) < 0.005 ? 0 : angle;
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << shown << " degrees";
    return text.str();
}

class Deskew {
public:
    explicit Deskew(const Options& options) : options_(options), colours_(options.pages.input, "turned") {}

    ExitCode run() {
        const ExitCode code = transformPages(
            options_.pages, [this](const Source& source, int number, const Reference<Image>& page) {
                return levelled(source, number, page);
            });
        return code == ExitCode::done && !allMeasured_ ? ExitCode::undecided : code;
    }

private:
    Reference<Image> levelled(const Source& source, int number, const Reference<Image>& page) {
        const Reference<Image> grey = withSquarePixels(normalised(*page, options_.pages.input).image);
        const SkewMeasure measure = measureSkew(grey->getFIBTMAP(), options_.reach);
        std::cout << pageName(source, number) << ": ";
        if (!measure.angle) {
            allMeasured_ = false;
            std::cout << "not turned, no skew measured: " << measure.reason << '\n';
            return page;
        }
        std::cout << degrees(*measure.angle);
        const double longSide = std::max(grey->GetWidth(), grey->GetHeight());
        if (std::abs(std::sin(*measure.angle * degree)) * longSide / 2 < 1) {
            std::cout << ", not turned: level to a pixel\n";
            return page;
        }
        std::cout << ", turned back\n";
        return turnedBack(page, *measure.angle);
    }

    // A page whose pixels aren't square, such as a fax, is turned as it is on paper.
    Reference<Image> turnedBack(const Reference<Image>& page, double angle) {
        return colours_.through(page, [&](const Reference<Image>& plain) {
            const Reference<Image> square = withSquarePixels(plain);
            Reference<Image> level =
                turnedAbout(middleOf(*square), -angle, square, colours_, options_.pages.input);
            if (square.get() == plain.get()) {
                return level;
            }
            Reference<Image> result;
            if (!level->GetScaled(plain->GetWidth(), plain->GetHeight(), Image::ScaleTypeLinear, result)) {
                failInMemory();
            }
            FreeImage_SetDotsPerMeterX(result->getFIBTMAP(), FreeImage_GetDotsPerMeterX(plain->getFIBTMAP()));
            FreeImage_SetDotsPerMeterY(result->getFIBTMAP(), FreeImage_GetDotsPerMeterY(plain->getFIBTMAP()));
            return result;
        });
    }

    Reference<Image> withSquarePixels(const Reference<Image>& page) const {
        Reference<Image> square = page;
        DornImage::DPIUnifAdapter adapter;
        if (!DornImage::applyAdapter(&adapter, square)) {
            failInMemory();
        }
        return square;
    }

    [[noreturn]] void failInMemory() const {
        throw ToolError(ExitCode::limits, options_.pages.input,
                        "its pixels cannot be made square in the memory at hand");
    }

    const Options& options_;
    PlainColours colours_;
    bool allMeasured_ = true;
};

} // namespace

void addDeskewCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "deskew",
        "Turn pages so that their text lines are level, on the same size, and print by how many degrees they "
        "were off (above 0: they fell to the right). A page that has no trustworthy angle is kept as it is, "
        "and the exit code is 6 then.");
    addTransformOptions(*command, options->pages);
    options->pages.copiesUnchanged = true;
    addReachOption(*command, options->reach);
    command->callback([options, &action] { action = [options] { return Deskew(*options).run(); }; });
}
