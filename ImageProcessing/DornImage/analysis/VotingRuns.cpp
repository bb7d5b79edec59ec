#include "ImageProcessing/DornImage/analysis/VotingRuns.h"

#include <cstring>

namespace {

// As many runs as stay in a processor's second cache together with a row of counters. A batch ends with a
// whole line.
constexpr std::size_t batch = 32768;

// The position of the first byte from `at` on that isn't `value`, or `end`.
std::size_t skip(const std::uint8_t* bytes, std::size_t at, std::size_t end, std::uint8_t value) {
    std::uint64_t same = 0;
    std::memset(&same, value, sizeof(same));
    for (; at + sizeof(same) <= end; at += sizeof(same)) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes + at, sizeof(word));
        if (word != same) {
            break;
        }
    }
    while (at < end && bytes[at] == value) {
        ++at;
    }
    return at;
}

// Writes 1 where the step is from dark to light. All in bytes, and apart from the class, whose fields a store
// of a byte might change: so it is vectorised.
void markSteps(const std::uint8_t* before, const std::uint8_t* now, std::size_t width, std::uint8_t limit,
               std::uint8_t* step) {
    for (std::size_t x = 0; x < width; ++x) {
        const std::uint8_t dark = before[x] <= limit ? 1 : 0;
        const std::uint8_t light = now[x] > limit ? 1 : 0;
        step[x] = dark & light;
    }
}

} // namespace

VotingRuns::VotingRuns(const std::uint8_t* image, int stride, unsigned width, unsigned height,
                       std::uint8_t limit)
    : image_(image), stride_(stride), width_(width), height_(height), limit_(limit), step_(width) {}

bool VotingRuns::gather() {
    first_.clear();
    last_.clear();
    line_.clear();
    while (next_ < height_ && first_.size() < batch) {
        gatherLine();
        ++next_;
    }
    return !first_.empty();
}

void VotingRuns::gatherLine() {
    const std::uint8_t* const now = image_ + static_cast<std::ptrdiff_t>(next_) * stride_;
    std::uint8_t* const step = step_.data();
    markSteps(now - stride_, now, width_, limit_, step);
    for (std::size_t x = skip(step, 0, width_, 0); x < width_; x = skip(step, x, width_, 0)) {
        first_.push_back(static_cast<int>(x));
        x = skip(step, x, width_, 1);
        last_.push_back(static_cast<int>(x) - 1);
        line_.push_back(static_cast<int>(next_));
    }
}
