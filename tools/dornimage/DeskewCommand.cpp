#include "Commands.h"
#include "Levelling.h"
#include "Normalise.h"
#include "PageRun.h"
#include "PageTransform.h"
#include "SkewMeasure.h"
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
        const Reference<Image> grey =
            withSquarePixels(normalised(*page, options_.pages.input).image, options_.pages.input);
        const SkewMeasure measure = measureSkew(grey->getFIBTMAP(), options_.reach);
        std::cout << pageName(source, number) << ": ";
        if (!measure.angle) {
            allMeasured_ = false;
            std::cout << "not turned, no skew measured: " << measure.reason << '\n';
            return page;
        }
        std::cout << degrees(*measure.angle);
        if (isLevelToAPixel(*measure.angle, *grey)) {
            std::cout << ", not turned: level to a pixel\n";
            return page;
        }
        std::cout << ", turned back\n";
        return turnedBack(page, *measure.angle, colours_, options_.pages.input);
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
