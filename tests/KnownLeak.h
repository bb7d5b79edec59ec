#ifndef DORNIMAGE_TESTS_KNOWNLEAK_H
#define DORNIMAGE_TESTS_KNOWNLEAK_H

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DORN_SEARCHES_LEAKS
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define DORN_SEARCHES_LEAKS
#endif

#if defined(DORN_SEARCHES_LEAKS)
#include <sanitizer/lsan_interface.h>
#endif

namespace dorntest {

/* For its lifetime, what is allocated counts for no leak: around calls of codecs that are known to lose
 * memory. */
class KnownLeak {
public:
#if defined(DORN_SEARCHES_LEAKS)
    KnownLeak() {
        __lsan_disable();
    }
    ~KnownLeak() {
        __lsan_enable();
    }
#else
    KnownLeak() {}
    ~KnownLeak() {}
#endif
    KnownLeak(const KnownLeak&) = delete;
    KnownLeak& operator=(const KnownLeak&) = delete;
};

} // namespace dorntest

#endif
