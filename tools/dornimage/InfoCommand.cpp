#include "Commands.h"
#include "PageFacts.h"
#include "Source.h"
#include "Text.h"

#include <iomanip>
#include <iostream>
#include <memory>

namespace {

using nlohmann::ordered_json;

struct Options {
    std::vector<std::string> files;
    int page = 1;
    bool allPages = false;
    bool json = false;
    Decoding decoding;
};

ordered_json toJson(const PageFacts& facts) {
    ordered_json metadata = ordered_json::object();
    for (const auto& [model, count] : facts.metadata) {
        metadata[model] = count;
    }
    return {
        {"width", facts.width},
        {"height", facts.height},
        {"depth", facts.depth},
        {"type", facts.pixelType},
        {"colour", facts.colour},
        {"palette", facts.palette},
        {"paletteEntries", facts.paletteEntries},
        {"transparent", facts.transparent},
        {"dotsPerMetre", {{"x", facts.dotsPerMetreX}, {"y", facts.dotsPerMetreY}}},
        {"dotsPerInch", {{"x", dotsPerInch(facts.dotsPerMetreX)}, {"y", dotsPerInch(facts.dotsPerMetreY)}}},
        {"normalised", {{"width", facts.normalisedWidth}, {"height", facts.normalisedHeight}}},
        {"orientation", facts.orientation ? ordered_json(*facts.orientation) : ordered_json(nullptr)},
        {"metadata", metadata},
    };
}

std::ostream& field(const char* name) {
    return std::cout << "  " << std::left << std::setw(14) << name;
}

void print(const PageFacts& facts) {
    field("size") << facts.width << " x " << facts.height << " pixels\n";
    field("depth") << countOf(facts.depth, "bit") << " a pixel, " << facts.pixelType << ", " << facts.colour
                   << (facts.transparent ? ", transparent" : "") << '\n';
    if (facts.paletteEntries > 0) {
        field("palette") << facts.palette << ", "
                         << (facts.paletteEntries == 1 ? "1 entry"
                                                       : std::to_string(facts.paletteEntries) + " entries")
                         << '\n';
    }
    field("resolution") << facts.dotsPerMetreX << " x " << facts.dotsPerMetreY << " dots per metre, "
                        << dotsPerInch(facts.dotsPerMetreX) << " x " << dotsPerInch(facts.dotsPerMetreY)
                        << " dots per inch\n";
    field("square pixels") << facts.normalisedWidth << " x " << facts.normalisedHeight << " pixels\n";
    if (facts.orientation) {
        field("orientation") << *facts.orientation << '\n';
    }
    for (const auto& [model, count] : facts.metadata) {
        field("metadata") << model << ": " << countOf(count, "tag") << '\n';
    }
}

/// Describes one file on standard output or, for --json, in `list`, and its failures on standard error.
class FileReport {
public:
    FileReport(const Options& options, ordered_json& list) : options_(options), list_(list) {}

    /// Whether everything that was asked for could be read.
    bool describe(const std::string& name) {
        entry_ = {{"file", name}, {"ok", false}};
        ok_ = true;
        try {
            Source source(name, messages_, Frames::stored, options_.decoding);
            describe(source);
        } catch (const ToolError& error) {
            ok_ = false;
            entry_["error"] = error.what();
            report(name, error.what());
        }
        entry_["ok"] = ok_;
        list_.push_back(std::move(entry_));
        return ok_;
    }

    /// Pages of all files that could be read.
    std::size_t pagesRead() const { return read_; }

private:
    void describe(Source& source) {
        entry_["format"] = formatName(source.format());
        entry_["mime"] = mimeType(source.format());
        entry_["pageCount"] = source.pageCount();
        entry_["pages"] = ordered_json::array();
        if (!options_.json) {
            std::cout << printable(source.name()) << '\n';
            field("format") << formatName(source.format()) << ", " << mimeType(source.format()) << '\n';
            field("pages") << source.pageCount() << '\n';
        }
        if (!options_.allPages) {
            describe(source, options_.page);
            return;
        }
        for (int page = 1; page <= source.pageCount(); ++page) {
            describePageOrReport(source, page);
        }
    }

    // One bad page among many does not hide the others.
    void describePageOrReport(Source& source, int page) {
        try {
            describe(source, page);
        } catch (const ToolError& error) {
            ok_ = false;
            entry_["pages"].push_back({{"page", page}, {"error", error.what()}});
            report(source.name(), error.what());
        }
    }

    void describe(Source& source, int page) {
        const Page loaded = source.load(page);
        const PageFacts facts = factsOf(*loaded.image);
        ordered_json json = {{"page", page}};
        json.update(toJson(facts));
        json["messages"] = loaded.messages;
        ++read_;
        entry_["pages"].push_back(std::move(json));
        if (options_.json) {
            return;
        }
        if (source.pageCount() > 1) {
            std::cout << "  page " << page << '\n';
        }
        print(facts);
        for (const std::string& message : loaded.messages) {
            field("codec says") << printable(message) << '\n';
        }
    }

    const Options& options_;
    ordered_json& list_;
    ordered_json entry_;
    CodecMessages messages_;
    bool ok_ = true;
    std::size_t read_ = 0;
};

ExitCode run(const Options& options) {
    ordered_json list = ordered_json::array();
    FileReport fileReport(options, list);
    std::size_t failed = 0;
    for (const std::string& file : options.files) {
        failed += fileReport.describe(file) ? 0 : 1;
    }
    if (options.json) {
        printJson(list);
    }
    if (failed == 0) {
        return ExitCode::done;
    }
    return fileReport.pagesRead() == 0 ? ExitCode::input : ExitCode::some;
}

} // namespace

void addInfoCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand("info", "Tell what is in picture files");
    command->add_option("FILE", options->files, "Picture files")->required();
    CLI::Option* const page =
        command->add_option("--page", options->page, "Page to describe, counted from 1 (default 1)")
            ->check(CLI::PositiveNumber);
    command->add_flag("--all-pages", options->allPages, "Describe every page")->excludes(page);
    command->add_flag("--json", options->json, "Print an array with one object per file");
    addDecodingOptions(*command, options->decoding);
    command->callback([options, &action] { action = [options] { return run(*options); }; });
}
