#include "CleanInputs.h"
#include "CleanRun.h"
#include "Commands.h"
#include "PageList.h"
#include "PageScale.h"
#include "PictureWriter.h"
#include "SkewReach.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>
#include <thread>

namespace {

struct Options {
    std::vector<std::string> inputs;
    std::string planFile;
    std::string renditions;
    std::string preset;
    // What the command line says about the settings; the others are the preset's.
    std::optional<unsigned> dpi;
    std::string format;
    std::string empty;
    std::optional<double> reach;
    bool noUpright = false;
    bool noSquare = false;
    bool noColour = false;
    bool noEmpty = false;
    bool noSkew = false;
    bool noScale = false;
    std::string progress;
    CleanOptions run;
};

constexpr std::uint64_t mostPixelsUsual = 500'000'000;

template <class Names>
std::size_t indexOf(const std::string& name, const Names& names) {
    return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
}

CleanSettings settingsOf(const Options& options) {
    CleanSettings settings = presetSettings(options.preset);
    settings.upright = !options.noUpright;
    settings.square = !options.noSquare;
    settings.colour = !options.noColour;
    settings.skew = !options.noSkew;
    settings.reach = options.reach.value_or(settings.reach);
    if (!options.empty.empty()) {
        settings.empty = static_cast<EmptyPages>(indexOf(options.empty, emptyPagesNames()));
    }
    if (options.noEmpty) {
        settings.empty = EmptyPages::keep;
    }
    if (options.dpi) {
        settings.dpi = *options.dpi;
        settings.enlarge = true;
    }
    if (options.noScale) {
        settings.dpi = 0;
    }
    if (!options.format.empty()) {
        formatForWriting(options.run.output, options.format); // what can't be written is told before the work
        settings.format = options.format;
    }
    return settings;
}

void addInputs(CLI::App& command, Options& options) {
    command
        .add_option("IN", options.inputs,
                    "Picture files, folders, patterns such as \"scan*.tif\", and @LIST for a file with one "
                    "of these in a line; all pages of them, in order")
        ->required();
}

void addSettings(CLI::App& command, Options& options) {
    command
        .add_option("--preset", options.preset,
                    "archive: TIFF without loss; office: at most 200 dots per inch; web: JPEG of at most 100")
        ->check(CLI::IsMember(presetNames()));
    CLI::Option* const dpi =
        command
            .add_option("--dpi", options.dpi,
                        "Scale to this many dots per inch on both axes (default: as it is)")
            ->check(CLI::Range(1u, greatestDpi));
    command
        .add_option(
            "--format", options.format,
            "Format of files of one page, by name, extension or MIME type (default: that of the page's "
            "file where it holds the page, else PNG)")
        ->type_name("FORMAT");
    CLI::Option* const empty =
        command
            .add_option("--empty", options.empty,
                        "Empty pages: set aside in a folder of their own (default), marked in the report "
                        "only, or not looked for")
            ->check(CLI::IsMember(emptyPagesNames()));
    CLI::Option* const reach =
        command.add_option("--reach", options.reach, "Greatest skew to look for, in degrees (default 16)")
            ->check(CLI::Range(leastReach, greatestReach));
    command.add_flag("--no-upright", options.noUpright, "Leave pages as they lie, whatever EXIF says");
    command.add_flag("--no-square", options.noSquare, "Leave pixels that are not square");
    command.add_flag("--no-colour", options.noColour, "Leave palettes");
    command.add_flag("--no-empty", options.noEmpty, "As --empty keep")->excludes(empty);
    command.add_flag("--no-skew", options.noSkew, "Don't look for skew")->excludes(reach);
    command.add_flag("--no-scale", options.noScale, "Don't scale, whatever the preset says")->excludes(dpi);
}

void addOutput(CLI::App& command, Options& options) {
    command
        .add_option(
            "--out", options.run.output,
            "Folder for a file of each page, made when it isn't there, or FILE.tif or FILE.pdf for one of "
            "all pages")
        ->option_text("DIR|FILE")
        ->required();
    command.add_flag("--force", options.run.force, "Replace files that are there");
    command.add_flag("--resume", options.run.resume,
                     "Go on where a run was interrupted: leave pages that it has finished");
    command.add_flag("--dry-run", options.run.dryRun,
                     "Tell what would become of the pages, and write nothing");
    command
        .add_option("--report", options.run.reportFolder,
                    "Write a report with small pictures of each page before and after to this folder, for a "
                    "browser")
        ->option_text("DIR");
    command.add_flag("--json", options.run.json,
                     "Print an object with all decisions, their figures and the time of each step");
}

void addEngine(CLI::App& command, Options& options) {
    command
        .add_option("--jobs", options.run.jobs, "Pages to work on side by side (default: one a processor)")
        ->check(CLI::Range(1u, 256u));
    options.run.memory = defaultMemoryLimit;
    addMemoryOption(
        command, options.run.memory,
        "Bytes that the pages in work may take together, such as 64M (default 512M, at most 2G, 0 for "
        "no limit); one that needs more is worked on alone");
    options.run.maxPixels = mostPixelsUsual;
    command
        .add_option("--max-pixels", options.run.maxPixels,
                    "Refuse pages of more pixels, such as 100M (default 500M, 0 for no limit)")
        ->option_text("N")
        ->transform(CLI::AsSizeValue(true))
        ->check(CLI::Range(std::uint64_t{0}, std::uint64_t{1} << 50));
    command
        .add_option(
            "--progress", options.progress,
            "How to tell the progress on standard error: auto, which is a bar on a terminal and else a "
            "line for each page; an object for each page; or not at all")
        ->check(CLI::IsMember(progressNames()));
    options.run.decoding.isolate = true;
    addDecodingOptions(command, options.run.decoding);
    command.add_flag("--verbose", options.run.verbose, "Tell the time that each step took on standard error");
}

// The command line as the system keeps it; only for people to read.
std::string commandLine() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::string text = "dornimage";
    std::string argument;
    std::getline(file, argument, '\0');
    while (std::getline(file, argument, '\0')) {
        text += ' ';
        text += argument;
    }
    return text;
}

CleanOptions runOf(const Options& options) {
    CleanOptions run = options.run;
    if (!options.progress.empty()) {
        run.progress = static_cast<ProgressKind>(indexOf(options.progress, progressNames()));
    }
    run.command = commandLine();
    if (run.jobs == 0) {
        run.jobs = std::max(std::thread::hardware_concurrency(), 1U);
    }
    return run;
}

ExitCode clean(const Options& options) {
    CleanPlan plan{settingsOf(options), pagesOf(options.inputs, options.run.decoding)};
    return runClean(plan, runOf(options));
}

ExitCode apply(const Options& options) {
    CleanPlan plan = readPlan(options.planFile);
    if (!options.renditions.empty()) {
        takeRenditions(plan, options.renditions);
    }
    return runClean(plan, runOf(options));
}

} // namespace

void addCleanCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "clean",
        "Make a stack of scans straight, upright and free of empty pages. In order: turn after EXIF, make "
        "pixels square, make palettes true colour, set empty pages aside, mend skew, scale. Pages that it is "
        "unsure of stay.");
    addInputs(*command, *options);
    addOutput(*command, *options);
    addSettings(*command, *options);
    addEngine(*command, *options);
    command->callback([options, &action] { action = [options] { return clean(*options); }; });
}

void addPlanCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand(
        "plan", "Look at a stack of scans as clean does, write no pictures, and print what would be done as "
                "JSON, which people can edit and apply carries out");
    addInputs(*command, *options);
    addSettings(*command, *options);
    addEngine(*command, *options);
    options->run.writes = false;
    command->callback([options, &action] { action = [options] { return clean(*options); }; });
}

void addApplyCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command =
        app.add_subcommand("apply", "Carry out a plan, on the files that it names or on renditions of them");
    command->add_option("PLAN", options->planFile, "File that plan has printed, - for standard input")
        ->required();
    addOutput(*command, *options);
    command
        ->add_option("--renditions", options->renditions,
                     "Folder with files of the same names, in any format and size, to take instead")
        ->option_text("DIR");
    addEngine(*command, *options);
    options->run.analyses = false;
    command->callback([options, &action] { action = [options] { return apply(*options); }; });
}
