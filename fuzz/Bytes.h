#ifndef DORNIMAGE_FUZZ_BYTES_H
#define DORNIMAGE_FUZZ_BYTES_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

// What the fuzz targets share: choices read from the input, and the end of the process on a fault.

inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// Takes the bytes of an input one after another; behind its end there are zeros.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

    bool empty() const { return at_ == end_; }
    std::size_t left() const { return static_cast<std::size_t>(end_ - at_); }
    const std::uint8_t* rest() const { return at_; }

    std::uint8_t byte() { return empty() ? std::uint8_t{0} : *at_++; }
    // 0 to `end` - 1, for up to 65536.
    unsigned below(unsigned end) {
        const unsigned low = byte();
        return (end <= 256 ? low : low | static_cast<unsigned>(byte()) << 8) % end;
    }
    // `least` to `most`.
    int between(int least, int most) {
        return least + static_cast<int>(below(static_cast<unsigned>(most - least + 1)));
    }
    bool flag() { return (byte() & 1) != 0; }

    // The next bytes, at most `size`, as a part of their own.
    Bytes take(std::size_t size) {
        const Bytes part(at_, size < left() ? size : left());
        at_ = part.end_;
        return part;
    }
    std::string text() {
        const std::string result(reinterpret_cast<const char*>(at_), left());
        at_ = end_;
        return result;
    }

private:
    const std::uint8_t* at_;
    const std::uint8_t* end_;
};

#endif
