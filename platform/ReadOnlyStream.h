#ifndef DORNIMAGE_PLATFORM_READONLYSTREAM_H
#define DORNIMAGE_PLATFORM_READONLYSTREAM_H

#include "platform/Stream.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace dornplatform {

/* What the ready-made streams share: count, position and checks, over a source of bytes that does not change.
 */
class ReadOnlyStream : public IStream {
public:
    ULONG AddRef() override;
    ULONG Release() override;
    HRESULT Read(void* buffer, ULONG size, ULONG* read) override;
    HRESULT Write(const void* data, ULONG size, ULONG* written) override;
    HRESULT Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* position) override;
    HRESULT Stat(STATSTG* stat, DWORD flags) override;

protected:
    ReadOnlyStream() = default;

    /* Length in bytes; false if it can't be told. */
    virtual bool sourceSize(std::uint64_t& size) const = 0;
    /* Reads up to `size` bytes from `offset`, which may lie beyond the end; false on an error. */
    virtual bool sourceRead(std::uint64_t offset, void* buffer, std::size_t size, std::size_t& got) const = 0;

private:
    std::atomic<ULONG> count_{1};
    std::uint64_t position_ = 0; // at most INT64_MAX
};

} // namespace dornplatform

#endif
