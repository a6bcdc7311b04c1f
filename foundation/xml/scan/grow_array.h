// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_GROW_ARRAY_H
#define FOUNDATION_XML_SCAN_GROW_ARRAY_H

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

namespace vantrel::xml {

// A growing array of plain records. It grows by realloc, which moves large blocks by remapping
// their pages instead of copying them, and leaves pages that were never written untouched. Throws
// std::bad_alloc when memory runs out.
template <class T> class GrowArray final {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    GrowArray() noexcept = default;
    GrowArray(GrowArray&& other) noexcept
        : m_data(std::exchange(other.m_data, nullptr)), m_size(std::exchange(other.m_size, 0)),
          m_capacity(std::exchange(other.m_capacity, 0)) {}
    GrowArray& operator=(GrowArray&& other) noexcept {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
        std::swap(m_capacity, other.m_capacity);
        return *this;
    }
    GrowArray(const GrowArray&) = delete;
    GrowArray& operator=(const GrowArray&) = delete;
    ~GrowArray() { std::free(m_data); }

    [[nodiscard]] std::size_t size() const noexcept { return m_size; }
    [[nodiscard]] bool empty() const noexcept { return m_size == 0; }
    [[nodiscard]] T* data() noexcept { return m_data; }
    [[nodiscard]] const T* data() const noexcept { return m_data; }
    T& operator[](std::size_t index) noexcept { return m_data[index]; }
    const T& operator[](std::size_t index) const noexcept { return m_data[index]; }
    T& back() noexcept { return m_data[m_size - 1]; }
    const T& back() const noexcept { return m_data[m_size - 1]; }
    T* begin() noexcept { return m_data; }
    T* end() noexcept { return m_data + m_size; }
    const T* begin() const noexcept { return m_data; }
    const T* end() const noexcept { return m_data + m_size; }
    [[nodiscard]] std::span<const T> span() const noexcept { return {m_data, m_size}; }

    void reserve(std::size_t capacity) {
        if (capacity <= m_capacity) {
            return;
        }
        // The product could wrap where sizes have 32 bits.
        void* const moved = capacity <= std::numeric_limits<std::size_t>::max() / sizeof(T)
                                ? std::realloc(static_cast<void*>(m_data), capacity * sizeof(T))
                                : nullptr;
        if (moved == nullptr) {
            throw std::bad_alloc();
        }
        m_data = static_cast<T*>(moved);
        m_capacity = capacity;
    }
    // Room for so many behind the last at least; it doubles where there is less. Returns how many
    // there is room for.
    std::size_t reserveMore(std::size_t more) {
        if (more > m_capacity - m_size) [[unlikely]] {
            reserve(std::max(m_size + more, 2 * m_capacity));
        }
        return m_capacity - m_size;
    }
    void push_back(const T& value) {
        if (m_size == m_capacity) [[unlikely]] {
            const T copy = value;
            reserve(m_capacity == 0 ? 16 : m_capacity * 2);
            m_data[m_size++] = copy;
            return;
        }
        m_data[m_size++] = value;
    }
    void pop_back() noexcept { --m_size; }
    // Also up to the capacity, by who has written what is behind the last.
    void truncate(std::size_t size) noexcept { m_size = size; }
    void clear() noexcept { m_size = 0; }
    // Gives back room that was reserved and not used.
    void shrink() noexcept {
        if (m_size != 0 && m_size < m_capacity) {
            if (void* const moved = std::realloc(static_cast<void*>(m_data), m_size * sizeof(T));
                moved != nullptr) {
                m_data = static_cast<T*>(moved);
                m_capacity = m_size;
            }
        }
    }

private:
    T* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

} // namespace vantrel::xml

#endif
