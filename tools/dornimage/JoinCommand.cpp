#include "Commands.h"
#include "OutputFile.h"
#include "PageList.h"
#include "TiffJoiner.h"

#include <cerrno>
#include <cstring>
#include <memory>

namespace {

struct Options {
    std::string output;
    std::vector<std::string> inputs;
    unsigned memory = defaultMemoryLimit;
    Decoding decoding;
};

class Join {
public:
    explicit Join(const Options& options)
        : options_(options), pages_(options.memory, messages_, options.decoding) {}

    ExitCode run() {
        PageLoop reading("reading", options_.inputs.size());
        for (const std::string& name : options_.inputs) {
            reading.next([&] {
                Source source(name, messages_, Frames::played, options_.decoding);
                pages_.addFile(source, reading);
            });
        }
        if (pages_.size() == 0) {
            return ExitCode::input;
        }
        OutputFile file(options_.output);
        TiffJoiner tiff(file.path());
        if (!tiff.isOpen()) {
            failOutput();
        }
        PageLoop joining("joining", pages_.size());
        for (std::size_t index = 0; index < pages_.size(); ++index) {
            joining.next([&] { append(*pages_.page(index, joining), file.path() + ".page", tiff); });
        }
        if (joining.result() != ExitCode::input) {
            tiff.close();
            file.commit();
        }
        return resultOf(reading, joining);
    }

private:
    void append(DornImage::Image& page, const std::string& pageFile, TiffJoiner& tiff) {
        if (!page.Save(FIF_TIFF, pageFile) || !tiff.append(pageFile)) {
            failOutput();
        }
        messages_.take(); // what the TIFF codec says about its own page file is no news
    }

    [[noreturn]] void failOutput() {
        throw ToolError(ExitCode::output, options_.output,
                        messages_.takeAsCause("cannot be written: ", std::strerror(errno)));
    }

    const Options& options_;
    CodecMessages messages_;
    PageList pages_;
};

} // namespace

void addJoinCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "join", "Write the pages of picture files, in order, to one TIFF of many pages. 1-bit "
                "pages get fax coding, grey and colour JPEG coding, others LZW.");
    command->add_option("OUT", options->output, "TIFF file to write")->required();
    command->add_option("IN", options->inputs, "Picture files; of those with several pages all are taken")
        ->required();
    addMemoryOption(*command, options->memory);
    addDecodingOptions(*command, options->decoding);
    command->callback([options, &action] { action = [options] { return Join(*options).run(); }; });
}
