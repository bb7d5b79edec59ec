#include "Commands.h"
#include "DecodeProtocol.h"
#include "DecodeServer.h"
#include "Text.h"
#include "VersionText.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <sstream>
#include <string_view>

namespace {

constexpr char exitCodes[] =
    "Exit codes: 0 done, 1 usage, 2 some files or pages failed and the others are done,\n"
    "3 input cannot be read, 4 output cannot be written, 5 out of memory,\n"
    "6 everything was read, but for some page there is no answer,\n"
    "7 a page has content and --fail-if-content was given, 130 interrupted.";

// CLI11's texts go through here because they repeat arguments as they came.
ExitCode endOfParsing(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = app.exit(error, out, err);
    std::cout << out.str();
    std::istringstream lines(err.str());
    for (std::string line; std::getline(lines, line);) {
        std::cerr << printable(line) << '\n';
    }
    return code == 0 ? ExitCode::done : ExitCode::usage;
}

ExitCode perform(const Action& action) {
    try {
        return action();
    } catch (const ToolError& error) {
        report(error.file(), error.what());
        return error.code();
    }
}

ExitCode parseAndPerform(int argc, const char* const* argv) {
    CLI::App app("Pictures of scanned documents and photographs: what they are, and in other formats.",
                 "dornimage");
    app.set_version_flag("--version", versionText, "Print version, build and processor variants, and exit");
    app.require_subcommand(1);
    app.footer(exitCodes);
    Action action;
    addCleanCommand(app, action);
    addPlanCommand(app, action);
    addApplyCommand(app, action);
    addInfoCommand(app, action);
    addConvertCommand(app, action);
    addScaleCommand(app, action);
    addRotateCommand(app, action);
    addUprightCommand(app, action);
    addDeskewCommand(app, action);
    addNormalizeCommand(app, action);
    addSmoothCommand(app, action);
    addFormatsCommand(app, action);
    addSplitCommand(app, action);
    addJoinCommand(app, action);
    addCpuCommand(app, action);
    addBlankCommand(app, action);
    addSkewCommand(app, action);
    addDescribeCommand(app, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return endOfParsing(app, error);
    }
    return perform(action);
}

ExitCode run(int argc, const char* const* argv) {
    const ExitCode code = parseAndPerform(argc, argv);
    if (!std::cout.flush()) {
        report("", "standard output cannot be written");
        return ExitCode::output;
    }
    return code;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == decoderArgument) {
        serveAsDecoder();
    }
    std::signal(SIGXFSZ, SIG_IGN); // a limit on file sizes is a write that fails, with a message
    try {
        return static_cast<int>(run(argc, argv));
    } catch (const std::bad_alloc&) {
        std::fputs("dornimage: out of memory\n", stderr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "dornimage: %s\n", error.what());
    }
    return static_cast<int>(ExitCode::limits);
}
