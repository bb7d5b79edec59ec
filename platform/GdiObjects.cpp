#include "platform/GdiObjects.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

namespace dornplatform {

namespace {

struct Registry {
    std::mutex mutex;
    std::map<std::uintptr_t, std::shared_ptr<GdiObject>> objects;
    std::uintptr_t lastId = 0;
};

Registry& registry() {
    // Never destroyed: static objects may use handles in their destructors.
    static Registry& instance = *new Registry;
    return instance;
}

} // namespace

GdiObject::~GdiObject() = default;

BYTE* BitmapObject::row(LONG y) const {
    const LONG inMemory = layout.topDown ? y : layout.height - 1 - y;
    return pixels + static_cast<std::size_t>(inMemory) * layout.stride;
}

void* addObject(std::shared_ptr<GdiObject> object) {
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const std::uintptr_t id = ++all.lastId;
    all.objects.emplace(id, std::move(object));
    // A number that is never looked into. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<void*>(id);
}

std::shared_ptr<GdiObject> findObject(const void* handle) {
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto found = all.objects.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == all.objects.end() ? nullptr : found->second;
}

bool removeObject(const void* handle) {
    std::shared_ptr<GdiObject> removed; // destroyed after the lock is gone
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto found = all.objects.find(reinterpret_cast<std::uintptr_t>(handle));
    if (found == all.objects.end()) {
        return false;
    }
    removed = std::move(found->second);
    all.objects.erase(found);
    return true;
}

} // namespace dornplatform
