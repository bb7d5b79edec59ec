#ifndef DORNIMAGE_TOOLS_DORNIMAGE_DESCRIPTOR_H
#define DORNIMAGE_TOOLS_DORNIMAGE_DESCRIPTOR_H

#include <unistd.h>
#include <utility>

/// Owner of one file descriptor; -1 for none.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (number_ >= 0) {
            ::close(number_);
        }
    }

    int get() const { return number_; }
    bool isOpen() const { return number_ >= 0; }

private:
    int number_;
};

#endif
