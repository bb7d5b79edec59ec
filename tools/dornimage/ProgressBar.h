#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PROGRESSBAR_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PROGRESSBAR_H

#include <cstddef>
#include <string>

/// One line on standard error that fills as the work goes on, and goes away at its end. Nothing is shown
/// unless that is a terminal.
class ProgressBar {
public:
    /// @param work what is done, such as "joining".
    /// @param total number of steps; 0 shows nothing.
    ProgressBar(std::string work, std::size_t total);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar() { clear(); }

    /// One more step is done.
    void step();

    /// Takes the line away, for a message in its place; the next step brings it back.
    void clear();

private:
    std::string work_;
    std::size_t total_;
    std::size_t done_ = 0;
    bool enabled_;
    bool shown_ = false;
};

#endif
