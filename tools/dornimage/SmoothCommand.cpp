#include "Commands.h"
#include "PageFacts.h"
#include "PageTransform.h"
#include "Text.h"

#include <memory>
#include <set>

namespace {

using DornImage::Image;
using DornImage::Reference;

struct Options {
    TransformOptions pages;
    unsigned kernel = 0;
    float sigma = 0;
};

class Smoothing {
public:
    explicit Smoothing(const Options& options) : options_(options) {}

    ExitCode run() {
        return transformPages(options_.pages,
                              [this](const Reference<Image>& page) { return smoothed(page); });
    }

private:
    Reference<Image> smoothed(const Reference<Image>& page) {
        Reference<Image> result;
        if (!asColours(page)->GetSmoothed(result, options_.kernel, options_.sigma)) {
            throw ToolError(ExitCode::limits, options_.pages.input,
                            "a kernel of " + std::to_string(options_.kernel) +
                                " is too large for this picture or the memory at hand");
        }
        return result;
    }

    // The filter takes the numbers in a bitmap for brightness, in 8-bit grey and 24-bit colour. Anything else
    // is brought to one of the two beforehand.
    Reference<Image> asColours(const Reference<Image>& page) {
        const PageFacts facts = factsOf(*page);
        const std::string leftOut = facts.transparent ? "; its transparency is left out" : "";
        if (facts.depth == 24 || (facts.depth == 8 && DornImage::FreeImage_IsGrayScale(page->getFIBTMAP()))) {
            if (facts.transparent) {
                say("smoothed" + leftOut);
            }
            return page;
        }
        const bool isGrey = facts.palette == "none"
                                ? facts.colour == "min-is-black" || facts.colour == "min-is-white"
                                : facts.palette != "colour";
        Reference<Image> result;
        if (!(isGrey ? page->convertToGrayscale(result) : page->convertTo24Bits(result))) {
            throw ToolError(ExitCode::input, options_.pages.input,
                            "a picture of the kind " + facts.pixelType + " cannot be smoothed");
        }
        const std::string palette = facts.palette == "none" ? "" : " (palette: " + facts.palette + ")";
        say(std::string("smoothed as ") + (isGrey ? "8-bit grey" : "24-bit colour") + ": it has " +
            countOf(facts.depth, "bit") + " a pixel" + palette + leftOut);
        return result;
    }

    void say(const std::string& message) {
        if (said_.insert(message).second) {
            report(options_.pages.input, message);
        }
    }

    const Options& options_;
    std::set<std::string> said_; // of all pages
};

std::string checkKernel(const std::string& text) {
    unsigned value = 0;
    const bool good = CLI::detail::lexical_cast(text, value) && value >= 3 && value % 2 == 1;
    return good ? "" : "not an odd number of 3 or more: " + text;
}

std::string checkSigma(const std::string& text) {
    float value = 0;
    if (!CLI::detail::lexical_cast(text, value) || !(value > 0)) { // not-a-number isn't
        return "not above 0: " + text;
    }
    // The weights divide by this; where it comes out as 0 there are none, and every picture would be black.
    const float divisor = value * (value + value);
    return divisor > 0 ? "" : "too small: " + text;
}

} // namespace

void addSmoothCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "smooth",
        "Smooth a picture with a Gaussian kernel. The result has 8-bit grey or 24-bit colour; a picture of "
        "another depth or with a palette is brought to one of them first, with a message.");
    addTransformOptions(*command, options->pages);
    command
        ->add_option("--kernel", options->kernel,
                     "Pixels that go into each, along a row and a column: odd, 3 or more")
        ->required()
        ->check(checkKernel);
    command->add_option("--sigma", options->sigma, "Width of the bell curve in pixels, above 0")
        ->required()
        ->check(checkSigma);
    command->callback([options, &action] { action = [options] { return Smoothing(*options).run(); }; });
}
