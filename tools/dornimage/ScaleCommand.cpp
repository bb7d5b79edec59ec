#include "Commands.h"
#include "PageDepth.h"
#include "PageFacts.h"
#include "PageTransform.h"
#include "PictureWriter.h"
#include "Text.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <set>

namespace {

using DornImage::Image;
using DornImage::Reference;

constexpr double metresPerInch = 0.0254;

// More than this a scaled page doesn't get, so that a slip of the finger does not fill the machine.
constexpr double mostBytes = 2147483648.0;

struct Size {
    double width;
    double height;
};

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

struct Method {
    const char* name;
    Image::ScaleType type;
    unsigned leastSide; // of a source, in pixels
};

constexpr Method methods[] = {{"linear", Image::ScaleTypeLinear, 2},
                              {"cubic", Image::ScaleTypeCubic, 4},
                              {"lanczos", Image::ScaleTypeLanczos, 6}};

class Scaling {
public:
    explicit Scaling(const Options& options)
        : options_(options),
          method_(*std::find_if(std::begin(methods), std::end(methods),
                                [&](const Method& m) { return options.method == m.name; })) {}

    ExitCode run() {
        return transformPages(options_.pages, [this](const Reference<Image>& page) {
            return scaled(inDepth(page, options_.to, options_.pages.input));
        });
    }

private:
    Reference<Image> scaled(const Reference<Image>& page) {
        const Size size = checkedSize(*page);
        const auto width = static_cast<unsigned>(size.width);
        const auto height = static_cast<unsigned>(size.height);
        Reference<Image> result;
        if (!scalable(page)->GetScaled(width, height, method_.type, result)) {
            failToScale(*page, width, height);
        }
        if (options_.dpi != 0) {
            // Exactly, where the library keeps the size on paper.
            const auto dotsPerMetre = static_cast<unsigned>(std::lround(options_.dpi / metresPerInch));
            FreeImage_SetDotsPerMeterX(result->getFIBTMAP(), dotsPerMetre);
            FreeImage_SetDotsPerMeterY(result->getFIBTMAP(), dotsPerMetre);
        }
        copyProfile(page->getFIBTMAP(), result->getFIBTMAP());
        return result;
    }

    Size wantedSize(Image& page) const {
        const double width = page.GetWidth();
        const double height = page.GetHeight();
        if (options_.percent > 0) {
            return {width * options_.percent / 100, height * options_.percent / 100};
        }
        if (options_.dpi != 0) {
            const unsigned x = FreeImage_GetDotsPerMeterX(page.getFIBTMAP());
            const unsigned y = FreeImage_GetDotsPerMeterY(page.getFIBTMAP());
            if (x == 0 || y == 0) {
                fail(ExitCode::input, "has no resolution to change; see --size and --percent");
            }
            return {width * options_.dpi / (x * metresPerInch), height * options_.dpi / (y * metresPerInch)};
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

    Size checkedSize(Image& page) const {
        const Size wanted = wantedSize(page);
        const Size size{std::max(std::round(wanted.width), 1.0), std::max(std::round(wanted.height), 1.0)};
        const double bytesPerPixel = std::max(page.GetBpp() / 8.0, 1.0);
        constexpr double longestSide = std::numeric_limits<int>::max();
        if (size.width > longestSide || size.height > longestSide ||
            size.width * size.height * bytesPerPixel > mostBytes) {
            fail(ExitCode::limits, "the result would take more than 2 GiB");
        }
        return size;
    }

    // What the library scales as the picture that it is.
    Reference<Image> scalable(const Reference<Image>& page) {
        FIBITMAP* const bitmap = page->getFIBTMAP();
        const PageFacts facts = factsOf(*page);
        const FREE_IMAGE_TYPE type = FreeImage_GetImageType(bitmap);
        Reference<Image> result = page;
        if (type == FIT_UINT16) {
            say("scaled as 8-bit grey: it has 16 bits a pixel");
            if (!page->convertToGrayscale(result)) {
                throw std::bad_alloc();
            }
        } else if (type == FIT_BITMAP && facts.transparent && facts.depth <= 8) {
            const FREE_IMAGE_FORMAT format = formatForWriting(options_.pages.output, options_.pages.format);
            const bool keep = format != FIF_JPEG && DornImage::FreeImage_CanSave(format, FIT_BITMAP, 32);
            say(keep ? "scaled as 32-bit colour: its palette has transparent entries"
                     : "its transparency has no place in the output and is left out");
            if (keep) {
                FIBITMAP* const colours = FreeImage_ConvertTo32Bits(bitmap);
                if (!colours) {
                    throw std::bad_alloc();
                }
                result = new dornbase::ReferencedImplMT<Image>();
                result->Attach(colours);
            }
        } else if (type == FIT_INT16 || type == FIT_UINT32 || type == FIT_INT32 || type == FIT_FLOAT ||
                   type == FIT_DOUBLE || type == FIT_COMPLEX) {
            fail(ExitCode::input, "a picture of the kind " + facts.pixelType + " cannot be scaled");
        }
        return result;
    }

    // A colour profile is no metadata to FreeImage.
    static void copyProfile(FIBITMAP* source, FIBITMAP* target) {
        const FIICCPROFILE* const profile = FreeImage_GetICCProfile(source);
        if (profile && profile->data && profile->size > 0) {
            FreeImage_CreateICCProfile(target, profile->data, static_cast<long>(profile->size));
            FreeImage_GetICCProfile(target)->flags = profile->flags;
        }
    }

    [[noreturn]] void failToScale(const Image& page, unsigned width, unsigned height) const {
        const bool shrinks = width < page.GetWidth() && height < page.GetHeight();
        const std::string least = std::to_string(method_.leastSide);
        if (!shrinks && std::min(page.GetWidth(), page.GetHeight()) < method_.leastSide) {
            fail(ExitCode::input, std::string("is too small for the method ") + method_.name +
                                      ", which takes " + least + " x " + least +
                                      " pixels or more; see --method");
        }
        fail(ExitCode::limits,
             "too little memory for " + std::to_string(width) + " x " + std::to_string(height) + " pixels");
    }

    [[noreturn]] void fail(ExitCode code, const std::string& cause) const {
        throw ToolError(code, options_.pages.input, cause);
    }

    void say(const std::string& message) {
        if (said_.insert(message).second) {
            report(options_.pages.input, message);
        }
    }

    const Options& options_;
    const Method& method_;
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
        ->check(CLI::Range(1u, 1000000u));
    size->add_option("--fit", options->fit,
                     "WxH: as large as these sides allow, in its own shape on paper; for thumbnails")
        ->check(checkSize);
    size->require_option(1);
    std::vector<std::string> names;
    for (const Method& method : methods) {
        names.emplace_back(method.name);
    }
    command->add_option("--method", options->method, "How to interpolate")
        ->check(CLI::IsMember(names))
        ->capture_default_str();
    command->callback([options, &action] { action = [options] { return Scaling(*options).run(); }; });
}
