#ifndef DORNIMAGE_TESTS_FAULTS_FAULTS_H
#define DORNIMAGE_TESTS_FAULTS_FAULTS_H

#include <string>

// Makes one call of a kind fail in this process, and counts the blocks of memory that are in use. For one
// thread.
namespace faults {

enum class Kind {
    none,
    allocation, // operator new, but for that in FreeImage, which doesn't look at what it gets; malloc of this
                // library
    codec,      // FreeImage functions that have a failure value, called by our code
    open,       // files and folders, opened and made
    diskFull,   // what is written to files or brought to the disk: ENOSPC,
    diskBroken, // EIO,
    cutWrite,   // or only the first half of it is written
};

// From now on the `n`-th call of that kind fails, counted from 1, and no other.
void arm(Kind kind, unsigned n);

// Ends that. Whether a call failed.
bool disarm();

// Blocks that were made since the last arm() and are still there, by the names of the libraries that asked
// for them; empty when there are none. Always empty in sanitizer builds, whose own search for leaks follows.
std::string leaks();

// For its lifetime nothing fails, counts, or is taken for a leak.
class Pause {
public:
    Pause();
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

private:
    bool before_;
};

} // namespace faults

#endif
