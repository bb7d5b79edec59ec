#include "Commands.h"
#include "PageDepth.h"
#include "PageTransform.h"

#include <memory>

namespace {

struct Options {
    TransformOptions pages;
    std::string to;
};

} // namespace

void addConvertCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "convert",
        "Write a picture in another format or depth. All pages of a file with several go to a format "
        "that holds several (TIFF, GIF, ICO), else the first one.");
    addTransformOptions(*command, options->pages);
    addDepthOption(*command, options->to);
    command->callback([options, &action] {
        action = [options] {
            return transformPages(options->pages, [&options](const auto& page) {
                return inDepth(page, options->to, options->pages.input);
            });
        };
    });
}
