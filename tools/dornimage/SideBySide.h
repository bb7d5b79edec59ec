#ifndef DORNIMAGE_TOOLS_DORNIMAGE_SIDEBYSIDE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_SIDEBYSIDE_H

#include <algorithm>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

/// Work on a row of things by several threads, with results in the order of the row.
///
/// Each thread, of which the calling one is one, takes for itself what `makeWorker()` returns and calls it
/// with index after index, in ascending order over all threads. `deliver(index)` is called for every index in
/// order and for one at a time, as soon as it and all before it are done. After an exception no thread takes
/// another index; the one of the smallest index is thrown when all have ended.
template <class MakeWorker, class Deliver>
class SideBySide {
public:
    SideBySide(std::size_t count, MakeWorker makeWorker, Deliver deliver)
        : makeWorker_(makeWorker), deliver_(deliver), done_(count) {}

    void run(unsigned threads) {
        const std::size_t most = std::max<std::size_t>(std::min<std::size_t>(threads, done_.size()), 1);
        std::vector<std::thread> others;
        try {
            others.reserve(most);
            for (std::size_t thread = 1; thread < most; ++thread) {
                others.emplace_back([this] { work(); });
            }
        } catch (const std::exception&) {
            // The system has no more threads, or no memory for them: those that there are do the work.
        }
        work();
        for (std::thread& other : others) {
            other.join();
        }
        if (failure_) {
            std::rethrow_exception(failure_);
        }
    }

private:
    void work() {
        std::size_t index = 0;
        try {
            auto worker = makeWorker_();
            while (take(index)) {
                worker(index);
                const std::lock_guard lock(mutex_);
                done_[index] = true;
                for (; delivered_ < done_.size() && done_[delivered_]; ++delivered_) {
                    index = delivered_;
                    deliver_(index);
                }
            }
        } catch (...) {
            const std::lock_guard lock(mutex_);
            if (!failure_ || index < failedAt_) {
                failure_ = std::current_exception();
                failedAt_ = index;
            }
        }
    }

    bool take(std::size_t& index) {
        const std::lock_guard lock(mutex_);
        index = next_;
        const bool more = !failure_ && next_ < done_.size();
        next_ += more ? 1 : 0;
        return more;
    }

    MakeWorker makeWorker_;
    Deliver deliver_;
    std::mutex mutex_;
    std::vector<bool> done_;
    std::size_t next_ = 0;
    std::size_t delivered_ = 0;
    std::exception_ptr failure_;
    std::size_t failedAt_ = 0;
};

#endif
