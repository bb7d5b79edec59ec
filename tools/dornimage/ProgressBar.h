#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PROGRESSBAR_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PROGRESSBAR_H

#include <chrono>
#include <cstddef>
#include <string>

/// How fast steps are done, and how long the others will take at that rate.
class Pace {
public:
    explicit Pace(std::size_t total) : total_(total) {}

    void step() { ++done_; }
    std::size_t done() const { return done_; }
    std::size_t total() const { return total_; }
    /// Steps a second since the start; 0 before the first step.
    double rate() const;
    double secondsLeft() const;

private:
    std::size_t total_;
    std::size_t done_ = 0;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// One line on standard error that fills as the work goes on, with rate and time left, and goes away at its
/// end. Nothing is shown unless that is a terminal.
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
    Pace pace_;
    bool enabled_;
    bool shown_ = false;
};

#endif
