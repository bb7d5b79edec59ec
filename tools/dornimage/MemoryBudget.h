#ifndef DORNIMAGE_TOOLS_DORNIMAGE_MEMORYBUDGET_H
#define DORNIMAGE_TOOLS_DORNIMAGE_MEMORYBUDGET_H

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <mutex>

/// Lets threads go on while what they need together stays below a limit. One that needs more than all there
/// is goes on alone.
class MemoryBudget {
public:
    /// @param limit bytes, 0 for none.
    explicit MemoryBudget(std::uint64_t limit) : limit_(limit) {}

    /// A share of the budget, until it goes.
    class Share {
    public:
        /// Waits until there is room for so many bytes; 0 stands for nobody knows, which is all.
        Share(MemoryBudget& budget, std::uint64_t bytes)
            : budget_(budget), bytes_(bytes == 0 ? budget.limit_ : std::min(bytes, budget.limit_)) {
            std::unique_lock lock(budget_.mutex_);
            budget_.freed_.wait(lock, [this] { return bytes_ <= budget_.limit_ - budget_.used_; });
            budget_.used_ += bytes_;
        }
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;
        ~Share() {
            const std::lock_guard lock(budget_.mutex_);
            budget_.used_ -= bytes_;
            budget_.freed_.notify_all();
        }

    private:
        MemoryBudget& budget_;
        std::uint64_t bytes_; // 0 without a limit
    };

private:
    std::uint64_t limit_;
    std::uint64_t used_ = 0;
    std::mutex mutex_;
    std::condition_variable freed_;
};

#endif
