#include "Commands.h"
#include "PageList.h"
#include "PictureWriter.h"

#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

namespace {

struct Options {
    std::string input;
    std::string folder;
    std::string format;
    unsigned memory = defaultMemoryLimit;
    Decoding decoding;
};

class Split {
public:
    explicit Split(const Options& options)
        : options_(options), pages_(options.memory, messages_, options.decoding) {}

    ExitCode run() {
        if (!options_.format.empty()) {
            chosenFormat_ = formatForWriting(options_.folder, options_.format);
        }
        Source source(options_.input, messages_, Frames::played, options_.decoding);
        count_ = source.pageCount();
        PageLoop reading("reading", static_cast<std::size_t>(count_));
        for (int page = 1; page <= count_; ++page) {
            reading.next([&] { pages_.addPage(source, page, reading); });
        }
        if (pages_.size() == 0) {
            return ExitCode::input;
        }
        makeFolder();
        PageLoop writing("writing", pages_.size());
        for (std::size_t index = 0; index < pages_.size(); ++index) {
            writing.next([&] { write(*pages_.page(index, writing), pages_.pageNumber(index)); });
        }
        return resultOf(reading, writing);
    }

private:
    void makeFolder() const {
        std::error_code error;
        fs::create_directories(options_.folder, error);
        if (error) {
            throw ToolError(ExitCode::output, options_.folder, error.message());
        }
    }

    void write(DornImage::Image& page, int number) {
        const FREE_IMAGE_FORMAT format = formatFor(page);
        PictureWriter(fileName(number, format), format, std::nullopt, messages_).writeSingle(page);
    }

    FREE_IMAGE_FORMAT formatFor(DornImage::Image& page) const {
        if (chosenFormat_ != FIF_UNKNOWN) {
            return chosenFormat_;
        }
        const FREE_IMAGE_TYPE type = FreeImage_GetImageType(page.getFIBTMAP());
        return DornImage::FreeImage_CanSave(FIF_PNG, type, page.GetBpp()) ? FIF_PNG : FIF_TIFF;
    }

    // The input's name with the page's number.
    std::string fileName(int page, FREE_IMAGE_FORMAT format) const {
        Velmora::u8string extension;
        DornImage::FreeImage_GetDefaultExt(format, extension);
        return (fs::path(options_.folder) / fs::path(options_.input).stem()).string() + "-" +
               numbered(page, count_) + extension;
    }

    const Options& options_;
    CodecMessages messages_;
    PageList pages_;
    FREE_IMAGE_FORMAT chosenFormat_ = FIF_UNKNOWN;
    int count_ = 0;
};

} // namespace

void addSplitCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "split",
        "Write each page of a file with several (TIFF, GIF, ICO) to a file of its own, named by the input "
        "and the page's number");
    command->add_option("FILE", options->input, "Picture file to read")->required();
    command->add_option("OUTDIR", options->folder, "Folder to write in; made when it isn't there")
        ->required();
    command
        ->add_option(
            "--format", options->format,
            "Format to write, by name, extension or MIME type (default: PNG, or TIFF where PNG cannot "
            "hold the page)")
        ->type_name("FORMAT");
    addMemoryOption(*command, options->memory);
    addDecodingOptions(*command, options->decoding);
    command->callback([options, &action] { action = [options] { return Split(*options).run(); }; });
}
