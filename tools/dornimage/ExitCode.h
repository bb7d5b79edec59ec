#ifndef DORNIMAGE_TOOLS_DORNIMAGE_EXITCODE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_EXITCODE_H

#include <stdexcept>
#include <string>

// What the tool's process answers. The numbers are documented in docs/tool.md and in the help text.
enum class ExitCode {
    done = 0,
    usage = 1,         // the command line alone is wrong
    some = 2,          // some of the files or pages failed, the others are done
    input = 3,         // nothing could be read
    output = 4,        // the result can't be written: format, folder, disk
    limits = 5,        // memory ran out
    undecided = 6,     // everything was read, but for some page there is no answer
    unexpected = 7,    // --fail-if-content, and there is content
    interrupted = 130, // by SIGINT or SIGTERM; what was finished before stays
};

/// A failure that ends the work on one file. `what()` is the cause in words for people.
class ToolError : public std::runtime_error {
public:
    /// @param file the file that it is about, as the user named it.
    ToolError(ExitCode code, std::string file, const std::string& cause)
        : std::runtime_error(cause), code_(code), file_(std::move(file)) {}

    ExitCode code() const { return code_; }
    const std::string& file() const { return file_; }

private:
    ExitCode code_;
    std::string file_;
};

#endif
