#ifndef DORNIMAGE_BASE_THREADMUTEX_H
#define DORNIMAGE_BASE_THREADMUTEX_H

#include <mutex>

namespace dornbase {

/* A mutex that the thread which holds it may lock again; it is free when every lock was undone. */
class ThreadMutex {
public:
    ThreadMutex() = default;
    ThreadMutex(const ThreadMutex&) = delete;
    ThreadMutex& operator=(const ThreadMutex&) = delete;

    /* Waits for the mutex, unless this thread holds it; every lock is undone by an unlock of the same thread.
     */
    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }

private:
    std::recursive_mutex mutex_;
};

/* Holds one lock on a mutex for a scope, and can give it up and take it again in between. A guard belongs to
   one thread. */
class ThreadMutexGuard {
public:
    /* Locks at once if `lockNow`. The mutex must outlive the guard. */
    ThreadMutexGuard(ThreadMutex& mutex, bool lockNow) : mutex_(mutex) {
        if (lockNow) {
            acquire();
        }
    }
    ThreadMutexGuard(const ThreadMutexGuard&) = delete;
    ThreadMutexGuard& operator=(const ThreadMutexGuard&) = delete;
    ~ThreadMutexGuard() { release(); }

    /* Locks, unless this guard holds its lock already. */
    void acquire() {
        if (!held_) {
            mutex_.lock();
            held_ = true;
        }
    }

    /* Unlocks, if this guard holds its lock. */
    void release() {
        if (held_) {
            held_ = false;
            mutex_.unlock();
        }
    }

private:
    ThreadMutex& mutex_;
    bool held_ = false;
};

} // namespace dornbase

#endif
