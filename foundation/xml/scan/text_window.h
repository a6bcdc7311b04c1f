// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_TEXT_WINDOW_H
#define FOUNDATION_XML_SCAN_TEXT_WINDOW_H

#include "foundation/xml/scan/block_masks.h"

#include <cstdint>
#include <string_view>

namespace vantrel::xml {

// The masks of a moving stretch of a text, small enough for the first-level cache. Searches go
// forward only: a search from an offset moves the window there, and the masks of what lies before
// it are gone. Everything the window moves over has been checked (facts()).
class TextWindow final {
public:
    explicit TextWindow(std::string_view text) noexcept;

    // Offset of the first byte of the class at `at` or behind it; the size of the text when there
    // is none.
    template <StopClass Stop> [[nodiscard]] std::uint32_t find(std::uint32_t at) noexcept {
        if (at < m_end) [[likely]] {
            const std::uint64_t bits = bitsFrom(m_masks.rows[Stop], at - m_begin);
            if (bits != 0) [[likely]] {
                return at + static_cast<std::uint32_t>(__builtin_ctzll(bits));
            }
        }
        return findFar(Stop, at);
    }

    // Bit i is set when byte `at` + i is a colon, for i below `count`, which is at most
    // kBitsAtOnce. False when it is more, or when the window has moved on.
    [[nodiscard]] bool colons(std::uint32_t at, std::uint32_t count,
                              std::uint64_t& bits) const noexcept {
        if (at < m_begin || count > kBitsAtOnce || count == 0) [[unlikely]] {
            return false;
        }
        bits = bitsFrom(m_masks.rows[kColons], at - m_begin) &
               (~std::uint64_t{0} >> (kBlockSize - count));
        return true;
    }

    // The stretch that the window covers now, and its masks.
    [[nodiscard]] std::uint32_t begin() const noexcept { return m_begin; }
    [[nodiscard]] std::uint32_t end() const noexcept { return m_end; }
    [[nodiscard]] const BlockMasks& masks() const noexcept { return m_masks; }

    // Checks everything up to `offset` (up to the end of the text when it lies there).
    void checkUpTo(std::uint32_t offset) noexcept;
    [[nodiscard]] const TextFacts& facts() const noexcept { return m_facts; }

private:
    [[nodiscard]] std::uint32_t findFar(StopClass stop, std::uint32_t at) noexcept;
    // Moves on to the next stretch.
    void advance() noexcept;

    const char* m_text;
    std::uint32_t m_size;
    std::uint32_t m_begin = 0;
    std::uint32_t m_end = 0; // of the classified stretch: a multiple of the block size, or m_size
    bool m_complete = false; // the last, partial block was classified
    TextFacts m_facts;
    const ClassifyBlocks m_classify;
    BlockMasks m_masks;
};

} // namespace vantrel::xml

#endif
