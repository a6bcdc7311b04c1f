// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_CANON_OUTPUT_H
#define FOUNDATION_XML_CANON_CANON_OUTPUT_H

#include "foundation/xml/canon/canonicalizer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vantrel::xml {

// Puts a canonical form together from stretches of the text that stay as they are and pieces in
// between, and hands it to the sink in portions that fit the first level cache. A stretch is copied
// only when it ends; long ones go to the sink straight from the text. After a refusal the rest is
// dropped.
class CanonOutput final {
public:
    static constexpr std::uint32_t kPortion = 32U << 10;
    static constexpr std::size_t kBlock = 64;

    CanonOutput(std::string_view text, CanonSink& sink) noexcept
        : m_text(text.data()), m_lastBlock(text.size() - std::min(text.size(), kBlock)),
          m_sink(sink) {}

    // Where the stretch that is not yet written begins.
    [[nodiscard]] std::uint32_t stretchStart() const noexcept { return m_start; }
    // Writes the stretch up to `offset`. What follows in the text is left out until skipTo.
    void copyUpTo(std::uint32_t offset) {
        put(std::string_view(m_text + m_start, offset - m_start));
        m_start = offset;
    }
    // The same, and `piece` behind it: a part of the text before `offset`, or one with kBlock
    // readable bytes behind it.
    [[gnu::always_inline]] void copyUpToAndPut(std::uint32_t offset, std::string_view piece) {
        const std::size_t size = offset - m_start;
        if ((size | piece.size()) >= kShort || m_used > kBuffer - 3 * kShort ||
            offset > m_lastBlock) [[unlikely]] {
            copyUpTo(offset);
            put(piece);
            return;
        }
        char* const to = m_buffer + m_used;
        copyBlocks(to, m_text + m_start, size);
        copyBlocks(to + size, piece.data(), piece.size());
        m_used += size + piece.size();
        m_start = offset;
    }
    // The next stretch begins at `offset`.
    void skipTo(std::uint32_t offset) noexcept { m_start = offset; }

    [[gnu::always_inline]] void put(std::string_view piece) {
        if (piece.size() > sizeof m_buffer - m_used) {
            putLong(piece);
            return;
        }
        copy(m_buffer + m_used, piece);
        m_used += piece.size();
    }

    void put(char c) {
        if (m_used == sizeof m_buffer) {
            flush();
        }
        m_buffer[m_used++] = c;
    }

    // Hands over what was collected; false when the sink refused anything so far.
    [[nodiscard]] bool finish() {
        flush();
        return !m_refused;
    }
    [[nodiscard]] bool refused() const noexcept { return m_refused; }

    // What is collected and not handed over yet, and forgetting it.
    [[nodiscard]] std::string_view collected() const noexcept { return {m_buffer, m_used}; }
    void forget() noexcept { m_used = 0; }

    static constexpr std::size_t kBuffer = std::size_t{16} << 10;

private:
    static constexpr std::size_t kShort = 256; // a power of two

    // Most pieces are short, and a call costs more than they do. The two copies of a size may
    // overlap.
    [[gnu::always_inline]] static void copy(char* to, std::string_view piece) noexcept {
        const char* const from = piece.data();
        const std::size_t size = piece.size();
        if (size - 33 <= 31) {
            std::memcpy(to, from, 16);
            std::memcpy(to + 16, from + 16, 16);
            std::memcpy(to + size - 32, from + size - 32, 16);
            std::memcpy(to + size - 16, from + size - 16, 16);
        } else if (size - 16 <= 16) {
            std::memcpy(to, from, 16);
            std::memcpy(to + size - 16, from + size - 16, 16);
        } else if (size - 8 <= 8) {
            std::memcpy(to, from, 8);
            std::memcpy(to + size - 8, from + size - 8, 8);
        } else if (size != 0) { // a view of nothing may be null, which memcpy() does not take
            std::memcpy(to, from, size);
        }
    }

    // Reads and writes less than kBlock bytes more: lengths vary too much for a branch for each.
    [[gnu::always_inline]] static void copyBlocks(char* to, const char* from,
                                                  std::size_t size) noexcept {
        std::memcpy(to, from, kBlock);
        for (std::size_t done = kBlock; done < size; done += kBlock) {
            std::memcpy(to + done, from + done, kBlock);
        }
    }

    void flush();
    void putLong(std::string_view piece);

    const char* m_text;
    const std::size_t m_lastBlock; // offset of the last kBlock bytes
    CanonSink& m_sink;
    std::uint32_t m_start = 0;
    bool m_refused = false;
    std::size_t m_used = 0;
    char m_buffer[kBuffer]; // left uninitialised: only what was put is read
};

} // namespace vantrel::xml

#endif
