// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_REFCOUNTEDOBJECT_H
#define FOUNDATION_TEXT_REFCOUNTEDOBJECT_H

#include "foundation/text/VantrelObject.h"

#include <atomic>
#include <cstdint>

namespace vantrel {

// An object that deletes itself when its last reference is given back. It is born with one
// reference, its creator's.
class RefCountedObject : public VantrelObject {
public:
    RefCountedObject() noexcept;
    RefCountedObject(const RefCountedObject&) = delete;
    RefCountedObject& operator=(const RefCountedObject&) = delete;

    void incRefCount() noexcept { m_references.fetch_add(1, std::memory_order_relaxed); }
    void decRefCount() noexcept;

    // Number of living objects of this kind in the process; tests prove with it that nothing leaks.
    [[nodiscard]] static std::int64_t liveObjects() noexcept;

protected:
    ~RefCountedObject() override;

private:
    std::atomic<std::uint32_t> m_references{1};
};

// Releases one reference at the end of its scope: the untyped owner.
class RefCountedObjectOwner final {
public:
    RefCountedObjectOwner() noexcept = default;
    explicit RefCountedObjectOwner(RefCountedObject* object) noexcept : m_object(object) {}
    RefCountedObjectOwner(const RefCountedObjectOwner&) = delete;
    RefCountedObjectOwner& operator=(const RefCountedObjectOwner&) = delete;
    ~RefCountedObjectOwner();

    RefCountedObject* m_object = nullptr;
};

// A typed, move-only owner of one reference.
template <class T> class Ref final {
public:
    Ref() noexcept = default;
    // Takes over the reference that a call returned.
    [[nodiscard]] static Ref adopt(T* object) noexcept { return Ref(object); }
    // Adds a reference of its own.
    [[nodiscard]] static Ref share(T* object) noexcept {
        if (object != nullptr) {
            object->incRefCount();
        }
        return Ref(object);
    }
    Ref(Ref&& other) noexcept : m_object(other.release()) {}
    Ref& operator=(Ref&& other) noexcept {
        if (this != &other) {
            reset();
            m_object = other.release();
        }
        return *this;
    }
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
    ~Ref() { reset(); }

    void reset() noexcept {
        if (T* const object = release(); object != nullptr) {
            object->decRefCount();
        }
    }
    // Hands the reference on to the caller.
    [[nodiscard]] T* release() noexcept {
        T* const object = m_object;
        m_object = nullptr;
        return object;
    }
    [[nodiscard]] T* get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

private:
    explicit Ref(T* object) noexcept : m_object(object) {}

    T* m_object = nullptr;
};

} // namespace vantrel

#endif
