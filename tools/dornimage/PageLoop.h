#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PAGELOOP_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PAGELOOP_H

#include "ExitCode.h"
#include "ProgressBar.h"
#include "Text.h"

/// Work on one file or page after another with a progress bar. One that can't be read is reported and left
/// out, and the others go on.
class PageLoop {
public:
    /// As for ProgressBar.
    PageLoop(std::string work, std::size_t total) : progress_(std::move(work), total) {}

    /// Does the work for the next one. Lets through what it throws, but for ToolError of ExitCode::input.
    template <class Work>
    void next(Work work) {
        try {
            work();
            ++done_;
        } catch (const ToolError& error) {
            if (error.code() != ExitCode::input) {
                progress_.clear();
                throw;
            }
            leaveOut(error);
        }
        progress_.step();
    }

    /// Reports what can't be read within the present one.
    void leaveOut(const ToolError& error) {
        note(error.file(), error.what());
        ++failed_;
    }

    /// Reports something about a file where the bar was.
    void note(const std::string& file, const std::string& message) {
        progress_.clear();
        report(file, message);
    }

    /// What the tool answers when this was all: nothing, some or all could be read.
    ExitCode result() const {
        return failed_ == 0 ? ExitCode::done : done_ > 0 ? ExitCode::some : ExitCode::input;
    }

private:
    ProgressBar progress_;
    std::size_t done_ = 0;
    std::size_t failed_ = 0;
};

/// What the tool answers after two loops where the second works on what the first could read.
inline ExitCode resultOf(const PageLoop& first, const PageLoop& second) {
    return second.result() == ExitCode::done ? first.result() : second.result();
}

#endif
