#include "ImageProcessing/DornImage/analysis/PixelRows.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>

namespace DornImage {

namespace {

std::uint32_t countSetBits(const std::uint8_t* bytes, std::size_t size) {
    std::uint32_t count = 0;
    std::uint64_t word = 0;
    std::size_t i = 0;
    for (; i + sizeof word <= size; i += sizeof word) {
        std::memcpy(&word, bytes + i, sizeof word);
        count += static_cast<std::uint32_t>(std::popcount(word));
    }
    word = 0;
    std::memcpy(&word, bytes + i, size - i);
    return count + static_cast<std::uint32_t>(std::popcount(word));
}

std::uint32_t countSetBits(unsigned byte) {
    return static_cast<std::uint32_t>(std::popcount(byte));
}

} // namespace

std::uint32_t countSetBits(const std::uint8_t* row, std::size_t x, std::size_t width) {
    if (width == 0) {
        return 0;
    }
    const std::size_t first = x / 8;
    const std::size_t last = (x + width - 1) / 8;
    const unsigned fromFirst = 0xFFU >> (x % 8);
    const unsigned upToLast = 0xFF00U >> ((x + width - 1) % 8 + 1);
    if (first == last) {
        return countSetBits(row[first] & fromFirst & upToLast);
    }
    return countSetBits(row[first] & fromFirst) + countSetBits(row + first + 1, last - first - 1) +
           countSetBits(row[last] & upToLast);
}

void markDifferences(const std::uint8_t* pixels, std::uint8_t* means, std::size_t width,
                     std::uint8_t threshold) {
    for (std::size_t i = 0; i < width; ++i) {
        const std::uint8_t pixel = pixels[i];
        const std::uint8_t mean = means[i];
        const auto difference = static_cast<std::uint8_t>(std::max(pixel, mean) - std::min(pixel, mean));
        means[i] = difference > threshold ? 255 : 0;
    }
}

void MarkCounter::start(std::size_t width) {
    columns_.assign(width, 0);
    pending_ = 0;
    total_ = 0;
}

void MarkCounter::addRow(const std::uint8_t* marks, const std::uint8_t* density) {
    if (pending_ == 255) {
        flush();
    }
    ++pending_;
    std::uint8_t* const counts = columns_.data();
    const std::size_t width = columns_.size();
    for (std::size_t i = 0; i < width; ++i) {
        const auto limit = static_cast<std::uint8_t>(0xE6 ^ (marks[i] & (0xE6 ^ 0x15)));
        counts[i] = static_cast<std::uint8_t>(counts[i] + (density[i] > limit ? 1 : 0));
    }
}

void MarkCounter::flush() {
    total_ = std::accumulate(columns_.begin(), columns_.end(), total_);
    std::fill(columns_.begin(), columns_.end(), std::uint8_t(0));
    pending_ = 0;
}

std::uint32_t MarkCounter::total() {
    flush();
    return total_;
}

} // namespace DornImage
