#include "platform/GlobalMemory.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace {

struct FreeBytes {
    void operator()(unsigned char* bytes) const { std::free(bytes); }
};
using Bytes = std::unique_ptr<unsigned char, FreeBytes>;

struct Block {
    Bytes bytes;
    SIZE_T size = 0;
    bool moveable = false;
    unsigned locks = 0;
};

struct Blocks {
    std::mutex mutex;
    std::map<HGLOBAL, Block> byHandle;
    std::uintptr_t lastId = 0;
};

Blocks& blocks() {
    // Never destroyed: static objects may hold blocks until their destructors run.
    static Blocks& instance = *new Blocks;
    return instance;
}

/* A block of no bytes has an address, too. */
Bytes allocate(SIZE_T size, bool zeroed) {
    const SIZE_T atLeastOne = size > 0 ? size : 1;
    return Bytes(static_cast<unsigned char*>(zeroed ? std::calloc(1, atLeastOne) : std::malloc(atLeastOne)));
}

/* Moveable blocks have odd numbers for handles, which are used once and are nobody's address. */
HGLOBAL moveableHandle(Blocks& all) {
    // A number that is never looked into. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<HGLOBAL>(2 * ++all.lastId + 1);
}

} // namespace

HGLOBAL GlobalAlloc(UINT flags, SIZE_T size) {
    Block block{allocate(size, (flags & GMEM_ZEROINIT) != 0), size, (flags & GMEM_MOVEABLE) != 0, 0};
    if (!block.bytes) {
        return nullptr;
    }
    Blocks& all = blocks();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const HGLOBAL handle = block.moveable ? moveableHandle(all) : block.bytes.get();
    all.byHandle.emplace(handle, std::move(block));
    return handle;
}

HGLOBAL GlobalReAlloc(HGLOBAL memory, SIZE_T size, UINT flags) {
    Blocks& all = blocks();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto found = all.byHandle.find(memory);
    if (found == all.byHandle.end()) {
        return nullptr;
    }
    Block& block = found->second;
    if (block.moveable ? block.locks > 0 : (flags & GMEM_MOVEABLE) == 0) {
        return nullptr;
    }
    Bytes bytes = allocate(size, (flags & GMEM_ZEROINIT) != 0);
    if (!bytes) {
        return nullptr;
    }
    std::memcpy(bytes.get(), block.bytes.get(), size < block.size ? size : block.size);
    if (block.moveable) {
        block.bytes = std::move(bytes);
        block.size = size;
        return memory;
    }
    const HGLOBAL handle = bytes.get();
    all.byHandle.emplace(handle, Block{std::move(bytes), size, false, 0});
    all.byHandle.erase(found);
    return handle;
}

HGLOBAL GlobalFree(HGLOBAL memory) {
    Blocks& all = blocks();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return all.byHandle.erase(memory) > 0 ? nullptr : memory;
}

void* GlobalLock(HGLOBAL memory) {
    Blocks& all = blocks();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto found = all.byHandle.find(memory);
    if (found == all.byHandle.end()) {
        return nullptr;
    }
    if (found->second.moveable) {
        ++found->second.locks;
    }
    return found->second.bytes.get();
}

BOOL GlobalUnlock(HGLOBAL memory) {
    Blocks& all = blocks();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto found = all.byHandle.find(memory);
    if (found == all.byHandle.end() || found->second.locks == 0) {
        return FALSE;
    }
    return --found->second.locks > 0 ? TRUE : FALSE;
}

SIZE_T GlobalSize(HGLOBAL memory) {
    Blocks& all = blocks();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto found = all.byHandle.find(memory);
    return found == all.byHandle.end() ? 0 : found->second.size;
}
