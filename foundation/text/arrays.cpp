// SPDX-License-Identifier: MIT
#include "foundation/text/arrays.h"

#include <new>
#include <utility>

namespace vantrel {

namespace {

// Makes element `index` exist. False for a negative index and when out of memory.
template <class Elements> bool growTo(Elements& elements, int index) noexcept {
    if (index < 0) {
        return false;
    }
    const auto needed = static_cast<std::size_t>(index) + 1;
    if (needed > elements.size()) {
        try {
            elements.resize(needed);
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
    return true;
}

} // namespace

VantrelObject* ExtPtrArray::elementAt(int index) const noexcept {
    return index >= 0 && index < getSize() ? m_elements[static_cast<std::size_t>(index)].get()
                                           : nullptr;
}

bool ExtPtrArray::setAt(int index, VantrelObject* object) {
    std::unique_ptr<VantrelObject> owner(object);
    if (!growTo(m_elements, index)) {
        return false;
    }
    m_elements[static_cast<std::size_t>(index)] = std::move(owner);
    return true;
}

bool ExtPtrArray::appendObject(VantrelObject* object) {
    std::unique_ptr<VantrelObject> owner(object);
    try {
        m_elements.push_back(std::move(owner));
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

StringBuffer* ExtPtrArraySb::sbAt(int index) const noexcept {
    // Only StringBuffers are ever put in.
    return static_cast<StringBuffer*>(elementAt(index));
}

const char* ExtPtrArraySb::strAt(int index) const noexcept {
    const StringBuffer* const text = sbAt(index);
    return text == nullptr ? nullptr : text->getString();
}

bool ExtPtrArraySb::appendView(std::string_view text) {
    std::unique_ptr<StringBuffer> piece(new (std::nothrow) StringBuffer);
    return piece && piece->appendView(text) && appendObject(piece.release());
}

ExtPtrArrayRc::~ExtPtrArrayRc() { removeAllObjects(); }

RefCountedObject* ExtPtrArrayRc::elementAt(int index) const noexcept {
    return index >= 0 && index < getSize() ? m_elements[static_cast<std::size_t>(index)] : nullptr;
}

bool ExtPtrArrayRc::appendRefCounted(RefCountedObject* object) {
    RefCountedObjectOwner owner(object);
    try {
        m_elements.push_back(object);
    } catch (const std::bad_alloc&) {
        return false;
    }
    owner.m_object = nullptr;
    return true;
}

RefCountedObject* ExtPtrArrayRc::replaceRefCountedAt(int index, RefCountedObject* object) {
    RefCountedObjectOwner owner(object);
    if (!growTo(m_elements, index)) {
        return nullptr;
    }
    owner.m_object = nullptr;
    return std::exchange(m_elements[static_cast<std::size_t>(index)], object);
}

RefCountedObject* ExtPtrArrayRc::removeRefCountedAt(int index) {
    RefCountedObject* const removed = elementAt(index);
    if (index >= 0 && index < getSize()) {
        m_elements.erase(m_elements.begin() + index);
    }
    return removed;
}

void ExtPtrArrayRc::removeAllObjects() noexcept {
    // Emptied first: a destructor that looks back at the array finds nothing.
    std::vector<RefCountedObject*> elements;
    elements.swap(m_elements);
    for (RefCountedObject* const element : elements) {
        if (element != nullptr) {
            element->decRefCount();
        }
    }
}

} // namespace vantrel
