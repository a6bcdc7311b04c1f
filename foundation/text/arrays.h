// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_ARRAYS_H
#define FOUNDATION_TEXT_ARRAYS_H

#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/VantrelObject.h"

#include <memory>
#include <vector>

namespace vantrel {

// Owns heap objects; deleting the array deletes them. Slots may be empty.
class ExtPtrArray : public VantrelObject {
public:
    ExtPtrArray() noexcept = default;
    ExtPtrArray(const ExtPtrArray&) = delete;
    ExtPtrArray& operator=(const ExtPtrArray&) = delete;

    [[nodiscard]] int getSize() const noexcept { return static_cast<int>(m_elements.size()); }
    // Null when out of range or empty.
    [[nodiscard]] VantrelObject* elementAt(int index) const noexcept;
    // Takes over `object`, even when it fails (negative index, out of memory); grows the array as
    // needed and deletes what was there.
    bool setAt(int index, VantrelObject* object);
    bool appendObject(VantrelObject* object);
    void removeAllObjects() noexcept { m_elements.clear(); }

private:
    std::vector<std::unique_ptr<VantrelObject>> m_elements;
};

// An ExtPtrArray of StringBuffers.
class ExtPtrArraySb final : public ExtPtrArray {
public:
    [[nodiscard]] StringBuffer* sbAt(int index) const noexcept;
    [[nodiscard]] const char* strAt(int index) const noexcept;
    bool appendView(std::string_view text);
};

// Holds one reference on each of its elements. Slots may be empty.
class ExtPtrArrayRc final : public VantrelObject {
public:
    ExtPtrArrayRc() noexcept = default;
    ExtPtrArrayRc(const ExtPtrArrayRc&) = delete;
    ExtPtrArrayRc& operator=(const ExtPtrArrayRc&) = delete;
    ~ExtPtrArrayRc() override;

    [[nodiscard]] int getSize() const noexcept { return static_cast<int>(m_elements.size()); }
    [[nodiscard]] RefCountedObject* elementAt(int index) const noexcept;
    // Takes over the caller's reference, even when it fails.
    bool appendRefCounted(RefCountedObject* object);
    // Puts `object` at `index` (growing with empty slots), taking over the caller's reference, and
    // returns the old element with its reference, or null.
    RefCountedObject* replaceRefCountedAt(int index, RefCountedObject* object);
    // Removes element `index`, closing the gap, and hands its reference to the caller.
    [[nodiscard]] RefCountedObject* removeRefCountedAt(int index);
    void removeAllObjects() noexcept;

private:
    std::vector<RefCountedObject*> m_elements;
};

} // namespace vantrel

#endif
