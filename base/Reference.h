#ifndef DORNIMAGE_BASE_REFERENCE_H
#define DORNIMAGE_BASE_REFERENCE_H

#include "base/Export.h"
#include "base/ThreadMutex.h"

#include <cstdint>
#include <utility>

namespace dornbase {

/* Base of everything that can be counted. Only the final classes ReferencedImpl and ReferencedImplMT exist at
   run time. Virtual operations in slot order: addRef, releaseRef, destructor. */
class DORNIMAGE_API ReferencedObject {
public:
    ReferencedObject() = default;
    ReferencedObject(const ReferencedObject&) = default;
    ReferencedObject& operator=(const ReferencedObject&) = default;

    /* Takes one reference. */
    virtual void addRef() = 0;
    /* Drops one reference; the object is gone when this was the last. */
    virtual void releaseRef() = 0;

protected:
    virtual ~ReferencedObject();
};

/* The one mutex behind the counts of all ReferencedImplMT objects of the process. */
extern DORNIMAGE_API ThreadMutex g_referencedObjectMutex;

/* T with a count that has no protection: for objects that one thread holds. Made with `new`; the count is 0
   until the first Reference takes it, and a copy starts at 0 on its own. The arguments of the constructor go
   to T's.

   releaseRef is kept out of line: GCC does not follow the count, and would warn in users' code that an object
   which lost one of several references is used after its end. */
template <class T>
class ReferencedImpl : public T {
public:
    /* Hands the arguments on to T's constructor. */
    template <class... Args>
    explicit ReferencedImpl(Args&&... args) : T(std::forward<Args>(args)...) {}
    ReferencedImpl(const ReferencedImpl& other) : T(other) {}
    /* Copies the T; the count stays this object's own. */
    ReferencedImpl& operator=(const ReferencedImpl& other) {
        T::operator=(other);
        return *this;
    }
    /* Moves the T over, which must not throw; the counts stay. */
    ReferencedImpl& operator=(ReferencedImpl&& other) noexcept {
        T::operator=(std::move(other));
        return *this;
    }

    /* Takes one reference. */
    void addRef() override { ++refCount; }

    /* Drops one reference; the last one deletes the object. */
    [[gnu::noinline]] void releaseRef() override {
        if (--refCount == 0) {
            delete this;
        }
    }

private:
    std::int32_t refCount = 0;
};

/* The same with a count under g_referencedObjectMutex, so that threads may share references to the object.
   The object itself is not protected. */
template <class T>
class ReferencedImplMT : public T {
public:
    /* Hands the arguments on to T's constructor. */
    template <class... Args>
    explicit ReferencedImplMT(Args&&... args) : T(std::forward<Args>(args)...) {}
    ReferencedImplMT(const ReferencedImplMT& other) : T(other) {}
    /* Copies the T; the count stays this object's own. */
    ReferencedImplMT& operator=(const ReferencedImplMT& other) {
        T::operator=(other);
        return *this;
    }
    /* Moves the T over, which must not throw; the counts stay. */
    ReferencedImplMT& operator=(ReferencedImplMT&& other) noexcept {
        T::operator=(std::move(other));
        return *this;
    }

    /* Takes one reference, from any thread. */
    void addRef() override {
        ThreadMutexGuard guard(g_referencedObjectMutex, true);
        ++refCount;
    }

    /* Drops one reference, from any thread; the last one deletes the object, outside the mutex. */
    [[gnu::noinline]] void releaseRef() override {
        ThreadMutexGuard guard(g_referencedObjectMutex, true);
        if (--refCount == 0) {
            // What dies may take long to free, and may hold references of its own: not under the global lock.
            guard.release();
            delete this;
        }
    }

private:
    std::int32_t refCount = 0;
};

/* A counted pointer to a T, whose count is reached through U (T itself or a base of it). One Reference
   belongs to one thread at a time.

   Every assignment drops the old object first and takes the new one afterwards. So storing the raw pointer
   that the Reference already holds destroys the object if this was its last reference, and the pointer
   dangles: who rebinds to a raw pointer keeps another Reference alive across the call. Assigning a Reference
   to itself does nothing. */
template <class T, class U = T>
class Reference {
public:
    Reference() = default;
    /* Takes one reference, unless null. */
    explicit Reference(T* object) : object_(object) { takeReference(); }
    Reference(const Reference& other) : object_(other.object_) { takeReference(); }
    /* The reference moves over and leaves null behind; nothing is counted. */
    Reference(Reference&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ~Reference() { dropReference(); }

    /* Takes one reference to `object`, unless null. */
    Reference& operator=(T* object) {
        dropReference();
        object_ = object;
        takeReference();
        return *this;
    }

    /* Takes one reference to what the other one holds. */
    Reference& operator=(const Reference& other) {
        if (this != &other) {
            *this = other.object_;
        }
        return *this;
    }

    /* The reference moves over and leaves null behind; nothing is counted but the drop of the old one. */
    Reference& operator=(Reference&& other) noexcept {
        if (this != &other) {
            T* const object = std::exchange(other.object_, nullptr);
            dropReference();
            object_ = object;
        }
        return *this;
    }

    /* The object, still the reference's, or null. */
    T* get() const { return object_; }
    operator T*() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    /* Whether there is an object. */
    explicit operator bool() const { return object_ != nullptr; }

private:
    void takeReference() {
        if (object_) {
            static_cast<U*>(object_)->addRef();
        }
    }

    void dropReference() {
        if (object_) {
            // Null goes in first: the dying object may come back to this Reference.
            static_cast<U*>(std::exchange(object_, nullptr))->releaseRef();
        }
    }

    T* object_ = nullptr;
};

} // namespace dornbase

#endif
