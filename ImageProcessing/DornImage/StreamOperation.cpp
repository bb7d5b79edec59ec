#include "ImageProcessing/DornImage/StreamOperation.h"

#include <algorithm>
#include <cstdio>

namespace DornImage {
namespace {

// Takes items off `wanted` until no more than `available` bytes are left of it, in 32-bit arithmetic that
// wraps below zero. Done item by item this could take four billion steps; here it is one division, and one
// more for each 4 GiB of the buffer that the caller owns. `wanted` is a multiple of `itemSize` modulo 2^32,
// so the way down ends at 0 at the latest.
std::uint32_t wholeItems(std::uint32_t wanted, std::uint32_t itemSize, std::uint32_t available) {
    while (wanted > available) {
        const std::uint32_t excess = wanted - available;
        const std::uint32_t items = excess / itemSize + (excess % itemSize != 0 ? 1U : 0U);
        wanted -= items * itemSize;
    }
    return wanted;
}

IStream2FileOperation& operationOf(fi_handle handle) {
    return *static_cast<IStream2FileOperation*>(handle);
}

} // namespace

IStream2FileOperation::IStream2FileOperation(IStream* source, FREE_IMAGE_FORMAT format)
    : stream(source), guard(format) {
    stream->AddRef();
}

IStream2FileOperation::~IStream2FileOperation() {
    stream->Release();
}

FreeImageIO IStream2FileOperation::prepare() {
    STATSTG status{};
    if (!FAILED(stream->Stat(&status, STATFLAG_NONAME))) {
        size = static_cast<std::uint32_t>(status.cbSize.QuadPart);
    }
    return FreeImageIO{readProc, nullptr, seekProc, tellProc};
}

unsigned DLL_CALLCONV IStream2FileOperation::readProc(void* buffer, unsigned itemSize, unsigned itemCount,
                                                      fi_handle handle) {
    IStream2FileOperation& self = operationOf(handle);
    const unsigned items = self.read(buffer, itemSize, itemCount);
    self.guard.note(buffer, itemSize, itemCount, items);
    return items;
}

unsigned IStream2FileOperation::read(void* buffer, unsigned itemSize, unsigned itemCount) {
    const std::uint32_t wanted = wholeItems(itemSize * itemCount, itemSize, size - position);
    if (wanted == 0) {
        return 0;
    }
    ULONG got = 0;
    if (FAILED(stream->Read(buffer, wanted, &got))) {
        return 0;
    }
    if (got != wanted) {
        seekToPosition();
        return 0;
    }
    position += wanted;
    return wanted / itemSize;
}

int DLL_CALLCONV IStream2FileOperation::seekProc(fi_handle handle, long offset, int origin) {
    IStream2FileOperation& self = operationOf(handle);
    const auto distance = static_cast<std::uint32_t>(offset);
    switch (origin) {
    case SEEK_SET:
        self.position = distance;
        break;
    case SEEK_CUR:
        self.position = std::min(self.position + distance, self.size);
        break;
    case SEEK_END:
        // Counts backward: a distance of 4 stands four bytes before the end, and one of -4 wraps to the end.
        self.position = std::min(self.size - distance, self.size);
        break;
    default:
        break;
    }
    return self.seekToPosition() ? 0 : 1;
}

long DLL_CALLCONV IStream2FileOperation::tellProc(fi_handle handle) {
    const IStream2FileOperation& self = operationOf(handle);
    self.guard.notePosition(self.position, self.size);
    return static_cast<long>(self.position);
}

bool IStream2FileOperation::seekToPosition() {
    LARGE_INTEGER target{};
    target.QuadPart = position;
    return !FAILED(stream->Seek(target, STREAM_SEEK_SET, nullptr));
}

} // namespace DornImage
