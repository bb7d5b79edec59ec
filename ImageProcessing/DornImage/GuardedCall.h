#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_GUARDEDCALL_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_GUARDEDCALL_H

#include <new>

namespace DornImage {

/// What `work` returns, and its null or false when a codec throws: a file may hold anything, and the
/// application may have registered any codec. Failed allocations come through.
template <class Work>
auto guarded(Work work) -> decltype(work()) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return {};
    }
}

} // namespace DornImage

#endif
