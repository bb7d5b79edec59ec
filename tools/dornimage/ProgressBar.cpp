#include "ProgressBar.h"

#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <unistd.h>

namespace {

constexpr std::size_t cells = 40;

// Such as "2.5/s, 1:05 left".
std::string textOf(const Pace& pace) {
    const long left = std::lround(pace.secondsLeft());
    std::ostringstream text;
    text << std::setprecision(pace.rate() < 100 ? 2 : 3) << pace.rate() << "/s, " << left / 60 << ':'
         << std::setw(2) << std::setfill('0') << left % 60 << " left";
    return text.str();
}

} // namespace

double Pace::rate() const {
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start_;
    return taken.count() > 0 ? static_cast<double>(done_) / taken.count() : 0;
}

double Pace::secondsLeft() const {
    const double perSecond = rate();
    return perSecond > 0 ? static_cast<double>(total_ - done_) / perSecond : 0;
}

ProgressBar::ProgressBar(std::string work, std::size_t total)
    : work_(std::move(work)), pace_(total), enabled_(total > 0 && isatty(STDERR_FILENO)) {}

void ProgressBar::step() {
    if (!enabled_ || pace_.done() == pace_.total()) {
        return;
    }
    pace_.step();
    const std::size_t filled = cells * pace_.done() / pace_.total();
    std::cerr << "\r\033[K" << work_ << " [" << std::string(filled, '#') << std::string(cells - filled, '.')
              << "] " << pace_.done() << '/' << pace_.total() << ", " << textOf(pace_) << std::flush;
    shown_ = true;
    if (pace_.done() == pace_.total()) {
        clear();
    }
}

void ProgressBar::clear() {
    if (shown_) {
        std::cerr << "\r\033[K" << std::flush;
        shown_ = false;
    }
}
