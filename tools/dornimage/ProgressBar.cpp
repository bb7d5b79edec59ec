#include "ProgressBar.h"

#include <iostream>
#include <unistd.h>

namespace {

constexpr std::size_t cells = 40;

} // namespace

ProgressBar::ProgressBar(std::string work, std::size_t total)
    : work_(std::move(work)), total_(total), enabled_(total > 0 && isatty(STDERR_FILENO)) {}

void ProgressBar::step() {
    if (!enabled_ || done_ == total_) {
        return;
    }
    ++done_;
    const std::size_t filled = cells * done_ / total_;
    std::cerr << '\r' << work_ << " [" << std::string(filled, '#') << std::string(cells - filled, '.') << "] "
              << done_ << '/' << total_ << std::flush;
    shown_ = true;
    if (done_ == total_) {
        clear();
    }
}

void ProgressBar::clear() {
    if (shown_) {
        std::cerr << "\r\033[K" << std::flush;
        shown_ = false;
    }
}
