#ifndef DORNIMAGE_TESTS_PRIMITIVES_GUARDEDBUFFER_H
#define DORNIMAGE_TESTS_PRIMITIVES_GUARDEDBUFFER_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

// Memory between two pages that no access survives. `atEnd` puts the block right before the page behind it,
// so that one byte too far is caught there; otherwise the block begins right behind the page in front.
class GuardedPages {
public:
    enum Place { atStart, atEnd };

    explicit GuardedPages(std::size_t size, Place place = atEnd)
        : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), inner_((size + page_ - 1) / page_ * page_) {
        if (inner_ == 0) {
            inner_ = page_;
        }
        void* map = mmap(nullptr, inner_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map == MAP_FAILED) {
            throw std::bad_alloc();
        }
        map_ = static_cast<std::uint8_t*>(map);
        if (mprotect(map_ + page_, inner_, PROT_READ | PROT_WRITE) != 0) {
            munmap(map_, inner_ + 2 * page_);
            throw std::bad_alloc();
        }
        data_ = map_ + page_ + (place == atEnd ? inner_ - size : 0);
    }

    ~GuardedPages() { munmap(map_, inner_ + 2 * page_); }

    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;

    std::uint8_t* data() { return data_; }

    // From here on a write is caught too.
    void makeReadOnly() { mprotect(map_ + page_, inner_, PROT_READ); }

private:
    std::size_t page_;
    std::size_t inner_;
    std::uint8_t* map_ = nullptr;
    std::uint8_t* data_ = nullptr;
};

// Memory with a pattern on both sides, for blocks that need an alignment or a check of each row's rest. A
// write that strays is found by intact().
class GuardedBytes {
public:
    // The block begins `offset` bytes behind a 64-byte boundary, and is filled with the pattern too.
    explicit GuardedBytes(std::size_t size, std::size_t offset = 0)
        : size_(size), bytes_(size + offset + 2 * kGuard + kAlignment, kPattern) {
        const auto address = reinterpret_cast<std::uintptr_t>(bytes_.data()) + kGuard;
        start_ = kGuard + (kAlignment - address % kAlignment) % kAlignment + offset;
    }

    std::uint8_t* data() { return bytes_.data() + start_; }

    // True when nothing outside the block was written.
    bool intact() const {
        for (std::size_t i = 0; i < bytes_.size(); ++i) {
            if ((i < start_ || i >= start_ + size_) && bytes_[i] != kPattern) {
                return false;
            }
        }
        return true;
    }

    // True when bytes `from` to `to` - 1 of the block were not written, such as those between two rows.
    bool untouched(std::size_t from, std::size_t to) const {
        for (std::size_t i = from; i < to; ++i) {
            if (bytes_[start_ + i] != kPattern) {
                return false;
            }
        }
        return true;
    }

    static constexpr std::uint8_t kPattern = 0xA7;

private:
    static constexpr std::size_t kGuard = 256;
    static constexpr std::size_t kAlignment = 64;

    std::size_t size_;
    std::vector<std::uint8_t> bytes_;
    std::size_t start_ = 0;
};

#endif
