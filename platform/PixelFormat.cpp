#include "platform/PixelFormat.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

namespace dornplatform {

namespace {

constexpr std::array<DWORD, 3> masks555{0x7C00, 0x03E0, 0x001F};
constexpr std::array<DWORD, 3> masks888{0xFF0000, 0x00FF00, 0x0000FF};

bool isMask(DWORD mask, unsigned bits) {
    const bool contiguous =
        mask != 0 && std::has_single_bit(std::uint64_t{mask >> std::countr_zero(mask)} + 1);
    return contiguous && std::bit_width(mask) <= bits;
}

/* The bits under a mask as 0 to 255; fewer than 8 are repeated downwards, so that all ones are 255. */
DWORD widen(DWORD pixel, DWORD mask) {
    const DWORD value = (pixel & mask) >> std::countr_zero(mask);
    const int width = std::popcount(mask);
    if (width >= 8) {
        return value >> (width - 8);
    }
    DWORD wide = value << (8 - width);
    for (int filled = width; filled < 8; filled *= 2) {
        wide |= wide >> filled;
    }
    return wide;
}

DWORD narrow(DWORD value, DWORD mask) {
    const int width = std::popcount(mask);
    const DWORD fitted = width >= 8 ? value << (width - 8) : value >> (8 - width);
    return (fitted << std::countr_zero(mask)) & mask;
}

DWORD packed(const RGBQUAD& colour) {
    DWORD number;
    std::memcpy(&number, &colour, sizeof number);
    return number & 0xFFFFFF;
}

unsigned indexAt(const BYTE* row, std::size_t x, unsigned bits) {
    const std::size_t bit = x * bits;
    return (row[bit / 8] >> (8 - bits - bit % 8)) & ((1U << bits) - 1);
}

void setIndexAt(BYTE* row, std::size_t x, unsigned bits, unsigned index) {
    const std::size_t bit = x * bits;
    const unsigned shift = static_cast<unsigned>(8 - bits - bit % 8);
    const unsigned mask = ((1U << bits) - 1) << shift;
    row[bit / 8] = static_cast<BYTE>((row[bit / 8] & ~mask) | index << shift);
}

unsigned nearestIndex(DWORD colour, const ColourTable& colours, unsigned count) {
    const auto distance = [colour](const RGBQUAD& other) {
        const DWORD candidate = packed(other);
        int sum = 0;
        for (const int shift : {0, 8, 16}) {
            const int difference =
                static_cast<int>(colour >> shift & 0xFF) - static_cast<int>(candidate >> shift & 0xFF);
            sum += difference * difference;
        }
        return sum;
    };
    unsigned nearest = 0;
    for (unsigned i = 1; i < count; ++i) {
        if (distance(colours[i]) < distance(colours[nearest])) {
            nearest = i;
        }
    }
    return nearest;
}

/* Readers and writers of one pixel as 0x00RRGGBB, a type for each kind of row. */

template <unsigned bits>
struct Indices {
    const ColourTable& colours;

    DWORD read(const BYTE* row, std::size_t x) const { return packed(colours[indexAt(row, x, bits)]); }
    void write(BYTE* row, std::size_t x, DWORD colour) const {
        setIndexAt(row, x, bits, nearestIndex(colour, colours, 1U << bits));
    }
};

struct Triples {
    static DWORD read(const BYTE* row, std::size_t x) {
        const BYTE* const pixel = row + 3 * x;
        return static_cast<DWORD>(pixel[2]) << 16 | static_cast<DWORD>(pixel[1]) << 8 | pixel[0];
    }
    static void write(BYTE* row, std::size_t x, DWORD colour) {
        BYTE* const pixel = row + 3 * x;
        pixel[0] = static_cast<BYTE>(colour);
        pixel[1] = static_cast<BYTE>(colour >> 8);
        pixel[2] = static_cast<BYTE>(colour >> 16);
    }
};

template <typename Number>
struct Masked {
    const std::array<DWORD, 3>& masks;

    DWORD read(const BYTE* row, std::size_t x) const {
        Number pixel;
        std::memcpy(&pixel, row + x * sizeof pixel, sizeof pixel);
        return widen(pixel, masks[0]) << 16 | widen(pixel, masks[1]) << 8 | widen(pixel, masks[2]);
    }
    void write(BYTE* row, std::size_t x, DWORD colour) const {
        const Number pixel =
            static_cast<Number>(narrow(colour >> 16 & 0xFF, masks[0]) | narrow(colour >> 8 & 0xFF, masks[1]) |
                                narrow(colour & 0xFF, masks[2]));
        std::memcpy(row + x * sizeof pixel, &pixel, sizeof pixel);
    }
};

/* 32 bits with the usual masks. */
struct Quads {
    static DWORD read(const BYTE* row, std::size_t x) {
        DWORD pixel;
        std::memcpy(&pixel, row + x * sizeof pixel, sizeof pixel);
        return pixel & 0xFFFFFF;
    }
    static void write(BYTE* row, std::size_t x, DWORD colour) {
        std::memcpy(row + x * sizeof colour, &colour, sizeof colour);
    }
};

/* Calls `use` with the reader and writer of a format. */
template <typename Use>
void withAccess(const PixelFormat& format, const ColourTable& colours, Use use) {
    if (format.bits == 1) {
        use(Indices<1>{colours});
    } else if (format.bits == 4) {
        use(Indices<4>{colours});
    } else if (format.bits == 8) {
        use(Indices<8>{colours});
    } else if (format.bits == 24) {
        use(Triples{});
    } else if (format.bits == 16) {
        use(Masked<WORD>{format.masks});
    } else if (format.masks == masks888) {
        use(Quads{});
    } else {
        use(Masked<DWORD>{format.masks});
    }
}

} // namespace

PixelFormat plainFormat(unsigned bits) {
    PixelFormat format{bits, {}};
    if (bits == 16) {
        format.masks = masks555;
    } else if (bits == 32) {
        format.masks = masks888;
    }
    return format;
}

std::size_t dibStride(std::uint64_t width, unsigned bits) {
    return static_cast<std::size_t>((width * bits + 31) / 32 * 4);
}

bool readLayout(const BITMAPINFOHEADER& header, DibLayout& layout) {
    const unsigned bits = header.biBitCount;
    if (header.biSize < sizeof header || header.biWidth <= 0 || header.biHeight == 0 ||
        header.biHeight == std::numeric_limits<LONG>::min()) {
        return false;
    }
    if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32) {
        return false;
    }
    layout.format = plainFormat(bits);
    if (header.biCompression == BI_BITFIELDS && (bits == 16 || bits == 32)) {
        std::array<DWORD, 3> masks;
        std::memcpy(masks.data(), reinterpret_cast<const BYTE*>(&header) + sizeof header, sizeof masks);
        if (masks != std::array<DWORD, 3>{}) {
            if (!std::all_of(masks.begin(), masks.end(), [bits](DWORD mask) { return isMask(mask, bits); })) {
                return false;
            }
            layout.format.masks = masks;
        }
    } else if (header.biCompression != BI_RGB) {
        return false;
    }
    layout.topDown = header.biHeight < 0;
    layout.width = header.biWidth;
    layout.height = layout.topDown ? -header.biHeight : header.biHeight;
    layout.stride = dibStride(static_cast<std::uint64_t>(layout.width), bits);
    layout.bytes = std::uint64_t{layout.stride} * static_cast<std::uint64_t>(layout.height);
    return true;
}

void readColourTable(const BITMAPINFO& info, unsigned bits, ColourTable& colours) {
    const DWORD all = 1U << bits;
    const DWORD used = info.bmiHeader.biClrUsed;
    const DWORD count = used == 0 ? all : std::min(used, all);
    colours.fill(RGBQUAD{});
    std::memcpy(colours.data(), reinterpret_cast<const BYTE*>(&info) + info.bmiHeader.biSize,
                count * sizeof(RGBQUAD));
}

bool RowCopy::copiesBits() const {
    if (!(from == to)) {
        return false;
    }
    const auto same = [](const RGBQUAD& one, const RGBQUAD& other) { return packed(one) == packed(other); };
    return !from.isIndexed() || fromColours == toColours ||
           std::equal(fromColours->begin(), fromColours->begin() + from.colours(), toColours->begin(), same);
}

void RowCopy::operator()(const BYTE* source, std::size_t fromX, BYTE* target, std::size_t toX,
                         std::size_t count) const {
    if (copiesBits()) {
        const std::size_t firstBit = fromX * from.bits;
        std::size_t done = 0;
        if (firstBit % 8 == 0 && toX * to.bits % 8 == 0) {
            const std::size_t bytes = count * from.bits / 8;
            std::memcpy(target + toX * to.bits / 8, source + firstBit / 8, bytes);
            done = bytes * 8 / from.bits;
        }
        for (std::size_t i = done; i < count; ++i) {
            setIndexAt(target, toX + i, to.bits, indexAt(source, fromX + i, from.bits));
        }
        return;
    }
    withAccess(from, *fromColours, [&](const auto& reader) {
        withAccess(to, *toColours, [&](const auto& writer) {
            for (std::size_t i = 0; i < count; ++i) {
                writer.write(target, toX + i, reader.read(source, fromX + i));
            }
        });
    });
}

} // namespace dornplatform
