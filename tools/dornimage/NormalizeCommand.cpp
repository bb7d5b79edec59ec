#include "Commands.h"
#include "PageRun.h"
#include "PageTransform.h"
#include "QuarterTurn.h"
#include "Text.h"

#include <iostream>
#include <memory>
#include <vector>

namespace {

using DornImage::Image;
using DornImage::Reference;

std::string sizeOf(const Image& page) {
    return std::to_string(page.GetWidth()) + "x" + std::to_string(page.GetHeight());
}

// Whether the adapter made a new page of it.
bool applied(DornImage::ImageLoadAdapter& adapter, Reference<Image>& page, const std::string& file) {
    const Reference<Image> before = page;
    if (!DornImage::applyAdapter(&adapter, page)) {
        throw ToolError(ExitCode::limits, file, "cannot be normalised in the memory at hand");
    }
    return page.get() != before.get();
}

ExitCode normalize(const TransformOptions& options) {
    return transformPages(options, [&](const Source& source, int number, const Reference<Image>& page) {
        std::vector<std::string> done;
        auto [result, orientation] = upright(page, options.input);
        if (orientation != 1) {
            done.push_back("turned upright from orientation " + std::to_string(orientation));
        }
        const std::string before = sizeOf(*result);
        DornImage::DPIUnifAdapter square;
        if (applied(square, result, options.input)) {
            done.push_back("pixels made square, " + before + " to " + sizeOf(*result));
        }
        DornImage::ColourLoadAdapter colour;
        if (applied(colour, result, options.input)) {
            done.push_back("palette made true colour");
        }
        std::cout << pageName(source, number) << ": " << (done.empty() ? "nothing to do" : join(done, "; "))
                  << '\n';
        return result;
    });
}

} // namespace

void addNormalizeCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<TransformOptions>();
    CLI::App* const command = app.add_subcommand(
        "normalize",
        "Turn pages upright after their EXIF orientation, make their pixels square at the higher resolution, "
        "and bring palettes of colours to 24 bits; say what was done.");
    addTransformOptions(*command, *options);
    options->copiesUnchanged = true;
    command->callback([options, &action] { action = [options] { return normalize(*options); }; });
}
