#ifndef DORNIMAGE_TESTS_PRIMITIVES_GAUSSIANREFERENCE_H
#define DORNIMAGE_TESTS_PRIMITIVES_GAUSSIANREFERENCE_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <vector>

// The Gaussian filter written down from its definition, one pixel at a time.
struct GaussianReference {
    int width = 0;
    int height = 0;
    int channels = 1;
    std::vector<std::int16_t> taps;
    unsigned shift = 12;
    unsigned border = 1;
    std::array<std::uint8_t, 3> value{};

    // The filtered image, rows without gaps. `src` points to the first pixel of the image; pixels beyond it
    // are read on the sides that the border type names.
    std::vector<std::uint8_t> filter(const std::uint8_t* src, int step) const {
        const int r = radius();
        const int rowSamples = width * channels;
        std::vector<std::vector<std::int16_t>> rows; // from r rows above the image
        for (int y = -r; y < height + r; ++y) {
            std::vector<std::int16_t> row;
            for (int i = 0; i < rowSamples; ++i) {
                row.push_back(intermediate(src, step, y, i / channels, i % channels));
            }
            rows.push_back(row);
        }
        std::vector<std::uint8_t> result;
        for (int y = 0; y < height; ++y) {
            for (int i = 0; i < rowSamples; ++i) {
                float sum = 0.0F;
                for (std::size_t j = 0; j < taps.size(); ++j) {
                    const float product =
                        static_cast<float>(
                            rows[static_cast<std::size_t>(y) + j][static_cast<std::size_t>(i)]) *
                        static_cast<float>(taps[j]);
                    sum += product;
                }
                result.push_back(static_cast<std::uint8_t>(std::clamp(sum * inverse(), 0.0F, 255.0F)));
            }
        }
        return result;
    }

private:
    int radius() const { return static_cast<int>(taps.size() / 2); }
    unsigned kind() const { return border & 15U; }
    float inverse() const { return 1.0F / static_cast<float>(std::uint32_t{1} << shift); }

    static int mirror(int position, int count) {
        while (count > 1 && (position < 0 || position >= count)) {
            position = position < 0 ? -position : 2 * (count - 1) - position;
        }
        return count == 1 ? 0 : position;
    }

    int inside(int position, int count) const {
        return kind() == 3 ? mirror(position, count) : std::clamp(position, 0, count - 1);
    }

    std::int16_t intermediate(const std::uint8_t* src, int step, int y, int x, int channel) const {
        const bool inMemory = (y < 0 && (border & 0x10U)) || (y >= height && (border & 0x20U));
        if ((y < 0 || y >= height) && !inMemory) {
            if (kind() == 6) {
                return value[static_cast<std::size_t>(channel)];
            }
            y = inside(y, height);
        }
        std::uint32_t sum = 0;
        for (int j = 0; j < static_cast<int>(taps.size()); ++j) {
            const int pixel = at(src, step, y, x - radius() + j, channel);
            sum += static_cast<std::uint32_t>(taps[static_cast<std::size_t>(j)] * pixel);
        }
        const float quotient = static_cast<float>(static_cast<std::int32_t>(sum)) * inverse();
        return static_cast<std::int16_t>(std::clamp(quotient, -32768.0F, 32767.0F));
    }

    std::uint8_t at(const std::uint8_t* src, int step, int y, int x, int channel) const {
        const bool inMemory = (x < 0 && (border & 0x40U)) || (x >= width && (border & 0x80U));
        if ((x < 0 || x >= width) && !inMemory) {
            if (kind() == 6) {
                return value[static_cast<std::size_t>(channel)];
            }
            x = inside(x, width);
        }
        return src[static_cast<std::ptrdiff_t>(y) * step + x * channels + channel];
    }
};

#endif
