#include "Commands.h"
#include "PageDepth.h"
#include "PageScale.h"
#include "PageTransform.h"
#include "PictureWriter.h"
#include "Text.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <set>

namespace {

using DornImage::Image;
using DornImage::Reference;

// What is asked for; one of the first four is set.
struct Options {
    TransformOptions pages;
    std::string size;
    std::string fit;
    double percent = 0;
    unsigned dpi = 0;
    std::string method = "lanczos";
    std::string to;
};

// WxH in whole pixels of at least 1.
std::optional<Size> sizeFrom(const std::string& text) {
    const std::size_t cross = text.find('x');
    unsigned width = 0;
    unsigned height = 0;
    const auto isDigits = [](const std::string& part) {
        return !part.empty() && part.find_first_not_of("0123456789") == std::string::npos;
    };
    if (cross == std::string::npos || !isDigits(text.substr(0, cross)) || !isDigits(text.substr(cross + 1)) ||
        !CLI::detail::lexical_cast(text.substr(0, cross), width) ||
        !CLI::detail::lexical_cast(text.substr(cross + 1), height) || width == 0 || height == 0) {
        return std::nullopt;
    }
    return Size{static_cast<double>(width), static_cast<double>(height)};
}

class Scaling {
public:
    explicit Scaling(const Options& options)
        : options_(options),
          scale_(options.pages.input, formatForWriting(options.pages.output, options.pages.format),
                 scaleMethod(options.method), [this](const std::string& message) { say(message); }) {}

    ExitCode run() {
        return transformPages(options_.pages, [this](const Reference<Image>& page) {
            return scaled(inDepth(page, options_.to, options_.pages.input));
        });
    }

private:
    Reference<Image> scaled(const Reference<Image>& page) const {
        return options_.dpi != 0 ? scale_.toDpi(page, options_.dpi) : scale_.toSize(page, wantedSize(*page));
    }

    Size wantedSize(Image& page) const {
        if (options_.percent > 0) {
            return {page.GetWidth() * options_.percent / 100, page.GetHeight() * options_.percent / 100};
        }
        if (options_.fit.empty()) {
            return *sizeFrom(options_.size);
        }
        const Size box = *sizeFrom(options_.fit);
        int squareWidth = 0;
        int squareHeight = 0;
        page.GetNormalizedDimension(squareWidth, squareHeight);
        const double factor =
            std::min(box.width / std::max(squareWidth, 1), box.height / std::max(squareHeight, 1));
        return {std::min(squareWidth * factor, box.width), std::min(squareHeight * factor, box.height)};
    }

    void say(const std::string& message) {
        if (said_.insert(message).second) {
            report(options_.pages.input, message);
        }
    }

    const Options& options_;
    const PageScale scale_;
    std::set<std::string> said_; // of all pages
};

std::string checkSize(const std::string& text) {
    return sizeFrom(text) ? "" : "not a width and a height in pixels, such as 800x600: " + text;
}

std::string checkPercent(const std::string& text) {
    double value = 0;
    const bool good = CLI::detail::lexical_cast(text, value) && std::isfinite(value) && value > 0;
    return good ? "" : "not above 0: " + text;
}

} // namespace

void addScaleCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "scale",
        "Change the size of a picture in pixels. Where both sides become smaller each pixel is the mean "
        "of the area that it covers; otherwise --method tells how to interpolate. The result has the "
        "same size on paper, through its resolution.");
    addTransformOptions(*command, options->pages);
    addDepthOption(*command, options->to);
    CLI::Option_group* const size = command->add_option_group("Size", "One of these has to be given");
    size->add_option("--size", options->size, "WxH: to these sides in pixels")->check(checkSize);
    size->add_option("--percent", options->percent, "Both sides to this many percent")->check(checkPercent);
    size->add_option("--dpi", options->dpi, "To this many dots per inch on both axes, by its own resolution")
        ->check(CLI::Range(1u, greatestDpi));
    size->add_option("--fit", options->fit,
                     "WxH: as large as these sides allow, in its own shape on paper; for thumbnails")
        ->check(checkSize);
    size->require_option(1);
    std::vector<std::string> names;
    for (const ScaleMethod& method : scaleMethods()) {
        names.emplace_back(method.name);
    }
    command->add_option("--method", options->method, "How to interpolate")
        ->check(CLI::IsMember(names))
        ->capture_default_str();
    command->callback([options, &action] { action = [options] { return Scaling(*options).run(); }; });
}
