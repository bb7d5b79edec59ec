// What both forms of the Gaussian filter share: the call, and where the rows and pixels beyond the image come
// from. Part of FilterGaussian.level.cpp.

namespace primitives::DORN_LEVEL_NAMESPACE {

// One call. Distances are in bytes unless told otherwise.
struct GaussianJob {
    const uint8_t* src;
    ptrdiff_t srcStep;
    uint8_t* dst;
    ptrdiff_t dstStep;
    ptrdiff_t width;  // pixels
    ptrdiff_t height; // rows
    ptrdiff_t channels;
    ptrdiff_t rowBytes;
    ptrdiff_t kernel; // taps
    ptrdiff_t radius; // pixels, or rows
    const int16_t* taps;
    uint32_t scaleShift;
    uint32_t border;
    uint8_t borderValue[3];
    uint8_t* buffer;
};

DORN_INLINE uint32_t borderKind(const GaussianJob& job) {
    return job.border & 15U;
}

DORN_INLINE ptrdiff_t smaller(ptrdiff_t a, ptrdiff_t b) {
    return a < b ? a : b;
}

DORN_INLINE ptrdiff_t larger(ptrdiff_t a, ptrdiff_t b) {
    return a > b ? a : b;
}

DORN_INLINE ptrdiff_t roundUp(ptrdiff_t value, ptrdiff_t multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

// The position in 0 ... count - 1 that a mirror at both ends puts at `position`, mirroring again as often as
// needed.
DORN_INLINE ptrdiff_t mirrored(ptrdiff_t position, ptrdiff_t count) {
    if (count == 1) {
        return 0;
    }
    const ptrdiff_t period = 2 * (count - 1);
    ptrdiff_t folded = position < 0 ? -position : position;
    if (folded >= period) {
        folded %= period;
    }
    return folded < count ? folded : period - folded;
}

// Rows of the intermediate are counted from `radius` rows above the image: output row y needs rows y ... y +
// kernel - 1.
struct RowOrigin {
    enum Kind { source, copy, constant };

    Kind kind;
    ptrdiff_t
        row; // of the source, counted from the image's first row; or the earlier row of the intermediate
};

// How row `index` of the intermediate is made. A row to copy is at most kernel - 1 rows back, and no row of
// the source is named again after the output has passed it, which lets the filter work in place.
DORN_INLINE RowOrigin rowOrigin(const GaussianJob& job, ptrdiff_t index) {
    const ptrdiff_t y = index - job.radius;
    const bool above = y < 0;
    const bool inside = !above && y < job.height;
    const uint32_t inMemory = above ? ippBorderInMemTop : ippBorderInMemBottom;
    if (inside || (job.border & inMemory) != 0) {
        return {RowOrigin::source, y};
    }
    if (borderKind(job) == ippBorderConst) {
        return {RowOrigin::constant, 0};
    }
    const bool replicate = borderKind(job) == ippBorderRepl || job.height == 1;
    if (!above) {
        return {RowOrigin::copy, replicate ? index - 1 : mirrored(y, job.height) + job.radius};
    }
    const ptrdiff_t period = replicate ? 1 : 2 * (job.height - 1);
    if (index >= period) {
        return {RowOrigin::copy, index - period};
    }
    return {RowOrigin::source, replicate ? 0 : mirrored(y, job.height)};
}

// Made-up pixels `first` ... `last` - 1 of a row, all of them on one side of the image. Where nothing needs
// to be made up, what is asked for is only there to be multiplied by 0.
DORN_INLINE void makePixels(const GaussianJob& job, const uint8_t* row, ptrdiff_t first, ptrdiff_t last,
                            uint8_t* to) {
    const uint32_t kind = borderKind(job);
    const ptrdiff_t edge = first < 0 ? 0 : job.width - 1;
    for (ptrdiff_t x = first; x < last; ++x) {
        const uint8_t* from = job.borderValue;
        if (kind == ippBorderMirror) {
            from = row + mirrored(x, job.width) * job.channels;
        } else if (kind == ippBorderRepl) {
            from = row + edge * job.channels;
        }
        for (ptrdiff_t channel = 0; channel < job.channels; ++channel) {
            *to++ = from[channel];
        }
    }
}

// Bytes `first` ... `last` - 1 of a row of the source, counted from the image's first column, with what lies
// beyond it. Bytes beyond the image are whole pixels.
DORN_INLINE void padRow(const GaussianJob& job, const uint8_t* row, ptrdiff_t first, ptrdiff_t last,
                        uint8_t* to) {
    const ptrdiff_t reach = job.radius * job.channels;
    const ptrdiff_t begin = (job.border & ippBorderInMemLeft) != 0 ? first : larger(first, 0);
    const ptrdiff_t end =
        smaller(last, (job.border & ippBorderInMemRight) != 0 ? job.rowBytes + reach : job.rowBytes);
    makePixels(job, row, first / job.channels, begin / job.channels, to);
    to += begin - first;
    __builtin_memcpy(to, row + begin, static_cast<size_t>(end - begin));
    makePixels(job, row, end / job.channels, last / job.channels, to + (end - begin));
}

} // namespace primitives::DORN_LEVEL_NAMESPACE
