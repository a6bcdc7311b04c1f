// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_RECORD_BLOCKS_H
#define FOUNDATION_X509_RECORD_BLOCKS_H

#include "foundation/text/block_memory.h"

#include <bit>
#include <cstddef>
#include <new>
#include <vector>

namespace vantrel::x509 {

// A growing list whose records are never moved. Each block holds as many as all before it, so there
// are few of them, and large ones get huge pages (block_memory.h). emplaceBack throws
// std::bad_alloc when memory runs out, the list unchanged.
template <class T> class RecordBlocks final {
public:
    RecordBlocks() noexcept = default;
    RecordBlocks(const RecordBlocks&) = delete;
    RecordBlocks& operator=(const RecordBlocks&) = delete;
    ~RecordBlocks() {
        while (m_size != 0) {
            popBack();
        }
        for (T* const block : m_blocks) {
            text::freeBlock(block);
        }
    }

    [[nodiscard]] std::size_t size() const noexcept { return m_size; }
    [[nodiscard]] T& operator[](std::size_t index) noexcept { return *place(index); }
    [[nodiscard]] const T& operator[](std::size_t index) const noexcept { return *place(index); }

    T& emplaceBack() {
        if (blockOf(m_size) == m_blocks.size()) {
            m_blocks.reserve(m_blocks.size() + 1);
            void* const block = text::allocateBlock((kFirst << m_blocks.size()) * sizeof(T));
            if (block == nullptr) {
                throw std::bad_alloc();
            }
            m_blocks.push_back(static_cast<T*>(block));
        }
        T* const record = new (place(m_size)) T();
        ++m_size;
        return *record;
    }
    void popBack() noexcept {
        --m_size;
        place(m_size)->~T();
    }

private:
    static constexpr std::size_t kFirst = 16;

    static std::size_t blockOf(std::size_t index) noexcept {
        return static_cast<std::size_t>(std::bit_width(index + kFirst) - std::bit_width(kFirst));
    }
    [[nodiscard]] T* place(std::size_t index) const noexcept {
        const std::size_t block = blockOf(index);
        return m_blocks[block] + (index + kFirst - (kFirst << block));
    }

    std::vector<T*> m_blocks;
    std::size_t m_size = 0;
};

} // namespace vantrel::x509

#endif
