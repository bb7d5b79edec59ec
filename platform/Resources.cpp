#include "platform/Resources.h"

#include <cstdint>
#include <limits>
#include <map>
#include <mutex>
#include <string>
#include <tuple>

namespace {

/* Module, type and name, the texts in capital letters. */
using Key = std::tuple<std::uintptr_t, std::wstring, std::wstring>;

struct Resource {
    HINSTANCE module;
    const void* data;
    DWORD size;
};

struct Registry {
    std::mutex mutex;
    std::map<Key, std::uintptr_t> ids;
    std::map<std::uintptr_t, Resource> resources;
    std::uintptr_t lastId = 0;
};

Registry& registry() {
    // Never destroyed: static objects may use resources in their destructors.
    static Registry& instance = *new Registry;
    return instance;
}

/* Numbers below 65536 in the place of a name are resource identifiers, which are not supported. */
bool isName(const wchar_t* name) {
    return reinterpret_cast<std::uintptr_t>(name) > 0xFFFF;
}

std::wstring foldCase(const wchar_t* text) {
    std::wstring folded(text);
    for (wchar_t& letter : folded) {
        if (letter >= L'a' && letter <= L'z') {
            letter = static_cast<wchar_t>(letter - L'a' + L'A');
        }
    }
    return folded;
}

Key makeKey(HINSTANCE module, const wchar_t* type, const wchar_t* name) {
    return {reinterpret_cast<std::uintptr_t>(module), foldCase(type), foldCase(name)};
}

/* Handles are numbers that are never used again, so that one of a forgotten resource finds nothing. */
const Resource* findById(const Registry& all, const void* handle) {
    const auto found = all.resources.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == all.resources.end() ? nullptr : &found->second;
}

} // namespace

HRSRC FindResourceW(HINSTANCE module, const wchar_t* name, const wchar_t* type) {
    if (!isName(name) || !isName(type)) {
        return nullptr;
    }
    const Key key = makeKey(module, type, name);
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto found = all.ids.find(key);
    if (found == all.ids.end()) {
        return nullptr;
    }
    // A number that is never looked into. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<HRSRC>(found->second);
}

HGLOBAL LoadResource(HINSTANCE module, HRSRC resource) {
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const Resource* const found = findById(all, resource);
    return found && found->module == module ? static_cast<HGLOBAL>(resource) : nullptr;
}

DWORD SizeofResource(HINSTANCE module, HRSRC resource) {
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const Resource* const found = findById(all, resource);
    return found && found->module == module ? found->size : 0;
}

void* LockResource(HGLOBAL resource) {
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const Resource* const found = findById(all, resource);
    return found ? const_cast<void*>(found->data) : nullptr;
}

namespace dornplatform {

bool registerResource(HINSTANCE module, const wchar_t* type, const wchar_t* name, const void* data,
                      std::size_t size) {
    if (!isName(type) || !isName(name) || (!data && size > 0) || size > std::numeric_limits<DWORD>::max()) {
        return false;
    }
    const Key key = makeKey(module, type, name);
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    if (all.ids.count(key) > 0) {
        return false;
    }
    const std::uintptr_t id = ++all.lastId;
    const auto stored = all.resources.emplace(id, Resource{module, data, static_cast<DWORD>(size)}).first;
    try {
        all.ids.emplace(key, id);
    } catch (...) {
        all.resources.erase(stored);
        throw;
    }
    return true;
}

bool unregisterResource(HINSTANCE module, const wchar_t* type, const wchar_t* name) {
    if (!isName(type) || !isName(name)) {
        return false;
    }
    const Key key = makeKey(module, type, name);
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto found = all.ids.find(key);
    if (found == all.ids.end()) {
        return false;
    }
    all.resources.erase(found->second);
    all.ids.erase(found);
    return true;
}

} // namespace dornplatform
