#ifndef DORNIMAGE_PRIMITIVES_RESIZE_ROWRING_H
#define DORNIMAGE_PRIMITIVES_RESIZE_ROWRING_H

#include <cstddef>
#include <cstdint>
#include <limits>

#include "primitives/resize/ResizeRun.h"

namespace primitives {

// The source rows below the taps of a destination row, after the horizontal pass. Rows that the next
// destination row needs too are kept, so that each source row goes through the horizontal pass once, and rows
// that none needs never do.
template <typename Sample, int taps>
class RowRing {
public:
    // Takes `taps` rows of `samples` elements from the work buffer.
    RowRing(ResizeBuffer& buffer, std::size_t samples) {
        for (int slot = 0; slot < taps; ++slot) {
            slots_[slot] = buffer.take<Sample>(samples);
            held_[slot] = std::numeric_limits<std::int64_t>::min();
        }
    }

    // Lets the ring hold the source rows from `first` on: fill(row, to) is called for those that it doesn't
    // hold yet.
    template <typename Fill>
    void moveTo(std::int32_t first, Fill fill) {
        const int remainder = first % taps;
        int slot = remainder < 0 ? remainder + taps : remainder;
        for (int tap = 0; tap < taps; ++tap, slot = slot + 1 == taps ? 0 : slot + 1) {
            const std::int64_t row = std::int64_t{first} + tap;
            if (held_[slot] != row) {
                fill(static_cast<std::int32_t>(row), slots_[slot]);
                held_[slot] = row;
            }
            rows_[tap] = slots_[slot];
        }
    }

    // The rows from `first` on.
    const Sample* const* rows() const { return rows_; }
    const Sample* row(int tap) const { return rows_[tap]; }

private:
    Sample* slots_[taps];
    std::int64_t held_[taps];
    const Sample* rows_[taps] = {};
};

} // namespace primitives

#endif
