#include "BlankMeasure.h"
#include "BlankPicture.h"
#include "Commands.h"
#include "Normalise.h"
#include "PageRun.h"
#include "PictureWriter.h"
#include "Text.h"

#include <cmath>
#include <iostream>
#include <memory>

namespace {

using nlohmann::ordered_json;

struct Options {
    PageRun run;
    bool failIfContent = false;
    bool ignoreFaint = false;
    std::string picture;
};

double rounded(double value) {
    return std::round(value * 1e6) / 1e6;
}

// Places are in pixels of the page as the file has it, counted from its top left corner.
ordered_json toJson(const SmallCell& cell, const BlankPage& page) {
    const unsigned fromTop = page.height() - std::min(page.height(), cell.bottom + cell.height);
    return {{"contrast", cell.contrast},
            {"share", rounded(cell.share)},
            {"markLength", rounded(cell.markLength)},
            {"weight", cell.weight},
            {"left", cell.left * page.factorX()},
            {"top", fromTop * page.factorY()}};
}

ordered_json toJson(const BlankPage& page, const BlankMeasure& measure, const std::string& from) {
    ordered_json faint = ordered_json::array();
    for (const SmallCell& cell : measure.faint) {
        faint.push_back(toJson(cell, page));
    }
    ordered_json shares = ordered_json::array();
    for (const double share : measure.cells) {
        shares.push_back(rounded(share));
    }
    return {
        {"verdict", verdictName(measure.verdict)},
        {"reason", measure.reason},
        {"normalisedFrom", from.empty() ? ordered_json(nullptr) : ordered_json(from)},
        {"ink", toJson(measure.ink, page)},
        {"border", toJson(measure.borderInk, page)},
        {"faint", faint},
        {"filling", rounded(measure.filling)},
        {"columns", measure.columns},
        {"rows", measure.rows},
        {"cells", shares},
        {"paperLevel", page.paperLevel()},
        {"inverted", page.wasInverted()},
        {"holes", page.holes()},
        {"edgeShare", rounded(page.edgeShare())},
    };
}

void print(const std::string& name, const BlankPage& page, const BlankMeasure& measure,
           const std::string& from) {
    const auto percent = [](double share) { return std::round(share * 1e5) / 1e3; };
    std::cout << name << ": " << verdictName(measure.verdict) << ": " << measure.reason << " (page "
              << percent(measure.filling) << " %, small cell " << percent(measure.ink.share)
              << " %, longest mark in it " << std::round(measure.ink.markLength * 10) / 10 << " mm";
    for (const SmallCell& cell : measure.faint) {
        std::cout << ", at contrast " << cell.contrast << " " << percent(cell.share) << " %";
    }
    if (page.holes() > 0) {
        std::cout << ", " << countOf(page.holes(), "punched hole") << " left out";
    }
    if (!from.empty()) {
        std::cout << "; " << from << ", normalised to 8-bit grey";
    }
    std::cout << ")\n";
}

class Blank {
public:
    explicit Blank(const Options& options) : options_(options) {}

    ExitCode run() {
        if (!options_.picture.empty()) {
            formatForWriting(options_.picture, ""); // a name that can't be written is told before the work
        }
        const ExitCode code =
            lookAtPages(options_.run, messages_,
                        [this](const Source& source, int page, DornImage::Image& image, bool damaged) {
                            return look(source, page, image, damaged);
                        });
        if (code != ExitCode::done) {
            return code;
        }
        if (hasContent_ && options_.failIfContent) {
            return ExitCode::unexpected;
        }
        return isUnsure_ ? ExitCode::undecided : ExitCode::done;
    }

private:
    ordered_json look(const Source& source, int number, DornImage::Image& image, bool damaged) {
        const GreyImage grey = normalised(image, source.name());
        const BlankPage page(grey.image->getFIBTMAP());
        BlankMeasure measure = measureBlank(page, options_.ignoreFaint);
        if (damaged) {
            doubtDamaged(measure);
        }
        hasContent_ = hasContent_ || measure.verdict == BlankVerdict::content;
        isUnsure_ = isUnsure_ || measure.verdict == BlankVerdict::unsure;
        if (!options_.picture.empty()) {
            writePicture(page, measure);
        }
        if (!options_.run.json) {
            print(pageName(source, number), page, measure, grey.from);
        }
        return toJson(page, measure, grey.from);
    }

    void writePicture(const BlankPage& page, const BlankMeasure& measure) {
        const DornImage::Reference<DornImage::Image> picture(
            new dornbase::ReferencedImplMT<DornImage::Image>());
        picture->Attach(drawBlank(page, measure));
        PictureWriter(options_.picture, formatForWriting(options_.picture, ""), std::nullopt, messages_)
            .writeSingle(*picture);
    }

    const Options& options_;
    CodecMessages messages_;
    bool hasContent_ = false;
    bool isUnsure_ = false;
};

} // namespace

void addBlankCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "blank", "Tell whether pages are empty, have content, or may be either (exit code 6), and why");
    command->add_option("FILE", options->run.files, "Picture files")->required();
    CLI::Option* const page =
        command
            ->add_option("--page", options->run.page, "Judge this page only, counted from 1 (default: all)")
            ->check(CLI::PositiveNumber);
    command->add_flag("--json", options->run.json, "Print an array with one object per file");
    addDecodingOptions(*command, options->run.decoding);
    command->add_flag("--ignore-faint", options->ignoreFaint,
                      "Take faint marks, such as pencil, for part of the paper");
    command->add_flag("--fail-if-content", options->failIfContent,
                      "Answer with exit code 7 when a page has content");
    command
        ->add_option("--picture", options->picture,
                     "Draw the page with the share of each cell of the grid; for one FILE and with --page")
        ->type_name("FILE")
        ->needs(page);
    command->callback([options, &action] {
        if (!options->picture.empty() && options->run.files.size() > 1) {
            throw CLI::ValidationError("--picture", "draws one page of one FILE");
        }
        action = [options] { return Blank(*options).run(); };
    });
}
