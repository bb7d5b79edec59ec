#include "platform/ReadOnlyStream.h"

#include <limits>

namespace dornplatform {

ULONG ReadOnlyStream::AddRef() {
    return count_.fetch_add(1, std::memory_order_relaxed) + 1;
}

ULONG ReadOnlyStream::Release() {
    const ULONG left = count_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        delete this;
    }
    return left;
}

HRESULT ReadOnlyStream::Read(void* buffer, ULONG size, ULONG* read) {
    if (read) {
        *read = 0;
    }
    if (size == 0) {
        return S_OK;
    }
    if (!buffer) {
        return STG_E_INVALIDPOINTER;
    }
    std::size_t got = 0;
    if (!sourceRead(position_, buffer, size, got)) {
        return STG_E_READFAULT;
    }
    position_ += got;
    if (read) {
        *read = static_cast<ULONG>(got);
    }
    return got == size ? S_OK : S_FALSE;
}

HRESULT ReadOnlyStream::Write(const void*, ULONG, ULONG* written) {
    if (written) {
        *written = 0;
    }
    return STG_E_ACCESSDENIED;
}

HRESULT ReadOnlyStream::Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* position) {
    std::uint64_t from = 0;
    if (origin == STREAM_SEEK_CUR) {
        from = position_;
    } else if (origin == STREAM_SEEK_END) {
        if (!sourceSize(from)) {
            return STG_E_READFAULT;
        }
    } else if (origin != STREAM_SEEK_SET) {
        return STG_E_INVALIDFUNCTION;
    }
    // Unsigned arithmetic: a place before the start wraps to a value above the limit, as does one too far
    // behind.
    const std::uint64_t target = from + static_cast<std::uint64_t>(offset.QuadPart);
    if (target > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return STG_E_INVALIDFUNCTION;
    }
    position_ = target;
    if (position) {
        position->QuadPart = target;
    }
    return S_OK;
}

HRESULT ReadOnlyStream::Stat(STATSTG* stat, DWORD flags) {
    if (!stat) {
        return STG_E_INVALIDPOINTER;
    }
    if (flags != STATFLAG_DEFAULT && flags != STATFLAG_NONAME) {
        return STG_E_INVALIDFLAG;
    }
    std::uint64_t size = 0;
    if (!sourceSize(size)) {
        return STG_E_READFAULT;
    }
    *stat = STATSTG{};
    stat->type = STGTY_STREAM;
    stat->cbSize.QuadPart = size;
    return S_OK;
}

} // namespace dornplatform
