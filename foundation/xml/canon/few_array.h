// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_FEW_ARRAY_H
#define FOUNDATION_XML_CANON_FEW_ARRAY_H

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

namespace vantrel::xml {

// A growing array of plain records of which there are few as a rule: the first kFew lie in the
// array itself, so that a walk over a short element allocates nothing. It does not move. Throws
// std::bad_alloc when memory runs out.
template <class T, std::size_t kFew> class FewArray final {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    // The room is left as it is: only what was put is read.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
    FewArray() noexcept : m_data(static_cast<T*>(static_cast<void*>(m_room))) {}
    FewArray(const FewArray&) = delete;
    FewArray& operator=(const FewArray&) = delete;
    ~FewArray() {
        if (isFar()) {
            std::free(m_data);
        }
    }

    [[nodiscard]] std::size_t size() const noexcept { return m_size; }
    [[nodiscard]] bool empty() const noexcept { return m_size == 0; }
    T& operator[](std::size_t index) noexcept { return m_data[index]; }
    const T& operator[](std::size_t index) const noexcept { return m_data[index]; }
    T& back() noexcept { return m_data[m_size - 1]; }
    const T& back() const noexcept { return m_data[m_size - 1]; }
    T* begin() noexcept { return m_data; }
    T* end() noexcept { return m_data + m_size; }
    const T* begin() const noexcept { return m_data; }
    const T* end() const noexcept { return m_data + m_size; }

    void push_back(const T& value) {
        if (m_size == m_capacity) [[unlikely]] {
            const T copy = value;
            grow();
            new (m_data + m_size++) T(copy);
            return;
        }
        new (m_data + m_size++) T(value);
    }
    void pop_back() noexcept { --m_size; }
    void truncate(std::size_t size) noexcept { m_size = size; }
    void clear() noexcept { m_size = 0; }

private:
    [[nodiscard]] bool isFar() const noexcept {
        return static_cast<const void*>(m_data) != static_cast<const void*>(m_room);
    }
    void grow() {
        // The product could wrap where sizes have 32 bits.
        const bool fits = m_capacity <= std::numeric_limits<std::size_t>::max() / sizeof(T) / 2;
        const std::size_t capacity = 2 * m_capacity;
        void* const old = isFar() ? static_cast<void*>(m_data) : nullptr;
        void* const memory = fits ? std::realloc(old, capacity * sizeof(T)) : nullptr;
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        if (old == nullptr) {
            std::memcpy(memory, m_room, m_size * sizeof(T));
        }
        m_data = static_cast<T*>(memory);
        m_capacity = capacity;
    }

    T* m_data;
    std::size_t m_size = 0;
    std::size_t m_capacity = kFew;
    alignas(T) std::byte m_room[kFew * sizeof(T)];
};

} // namespace vantrel::xml

#endif
