#include "Commands.h"
#include "PageTransform.h"
#include "PlainColours.h"

#include <memory>

namespace {

using DornImage::Image;
using DornImage::Reference;

struct Options {
    TransformOptions pages;
    unsigned kernel = 0;
    float sigma = 0;
};

ExitCode smooth(const Options& options) {
    PlainColours colours(options.pages.input, "smoothed");
    return transformPages(options.pages, [&](const Reference<Image>& page) {
        Reference<Image> result;
        if (!colours.of(page)->GetSmoothed(result, options.kernel, options.sigma)) {
            throw ToolError(ExitCode::limits, options.pages.input,
                            "a kernel of " + std::to_string(options.kernel) +
                                " is too large for this picture or the memory at hand");
        }
        return result;
    });
}

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
    command->callback([options, &action] { action = [options] { return smooth(*options); }; });
}
