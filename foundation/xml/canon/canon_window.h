// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_CANON_WINDOW_H
#define FOUNDATION_XML_CANON_CANON_WINDOW_H

#include "foundation/xml/canon/canon_masks.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel::xml {

// A start tag at a glance. Offsets count from its '<'; words have a bit for each byte from there
// on. canon_masks.h shows one at work.
struct TagShape {
    std::uint32_t close = 0;        // of its '>'; what follows holds when `tidy`
    bool tidy = false;              // no longer than 64 bytes, and canonical but for what is below
    bool selfClosing = false;       // "/>"
    std::uint32_t contentEnd = 0;   // of "/>", of a space before it, or of the '>'
    std::uint32_t nameEnd = 0;      // behind the qualified name
    std::uint32_t prefixLength = 0; // of the name's prefix; 0 without a colon
    std::uint64_t blanks = 0;       // the spaces before its attributes; 0 without any
    std::uint64_t colons = 0;       // in the names of its attributes
};

// Bit i: an odd number of bits up to and with bit i.
[[nodiscard]] constexpr std::uint64_t runningParity(std::uint64_t bits) noexcept {
    for (unsigned distance = 1; distance < kMaskedBytes; distance *= 2) {
        bits ^= bits << distance;
    }
    return bits;
}

// The masks of a stretch of the text around the place that a walk has reached; it moves along.
class CanonWindow final {
public:
    explicit CanonWindow(std::string_view text) noexcept
        : m_text(text.data()), m_size(static_cast<std::uint32_t>(text.size())),
          m_make(chosenCanonMaskKernel().run) {}

    // From here on the masks will not be asked for what lies behind `end`.
    void open(std::uint32_t end) noexcept {
        m_limit = end;
        m_begin = 0;
        m_safe = 0;
    }

    // The shape of the start tag at `at`. Tags longer than 64 bytes have no '>' in the word, so
    // they are never tidy; passOver (start_tag_writer.h) reads those.
    [[nodiscard]] TagShape tagAt(std::uint32_t at) noexcept;

    // The first byte at `at` or behind it that character data must stop at, and the first '>'. In
    // the content of an element there is one: its end tag.
    [[nodiscard]] std::uint32_t findContentStop(std::uint32_t at) noexcept {
        return findBit(at, [](const CanonMasks& m) { return m.less | m.greater | m.hard; });
    }
    [[nodiscard]] std::uint32_t findGreater(std::uint32_t at) noexcept {
        return findBit(at, [](const CanonMasks& m) { return m.greater; });
    }

    // The masks of the block that begins at `at`, a multiple of kMaskedBytes, and of those behind
    // it up to where the window ends, at least one. Valid until the next call of any of these.
    [[nodiscard]] std::span<const CanonMasks> blocksFrom(std::uint32_t at) noexcept {
        if (at >= m_safe || at < m_begin) [[unlikely]] {
            slideTo(at);
        }
        return {m_masks + (at - m_begin) / kMaskedBytes, (m_safe - at) / kMaskedBytes};
    }

private:
    // 8 KiB of text and a little more of masks: together half of a first-level cache.
    static constexpr std::uint32_t kBlocks = 128;

    // 64 bits from `at` on: the upper end of one word and the lower end of the next. A shift by 64
    // is not defined, so the second is shifted in two steps.
    [[nodiscard]] static std::uint64_t joined(std::uint64_t first, std::uint64_t second,
                                              std::uint32_t at) noexcept {
        const std::uint32_t shift = at % kMaskedBytes;
        return (first >> shift) | ((second << 1) << (63 - shift));
    }
    // The same of a row; `at` must lie before m_safe.
    [[nodiscard]] std::uint64_t word(std::uint64_t CanonMasks::*row,
                                     std::uint32_t at) const noexcept {
        const CanonMasks* const block = m_masks + (at - m_begin) / kMaskedBytes;
        return joined(block[0].*row, block[1].*row, at);
    }
    void slideTo(std::uint32_t at) noexcept;
    template <class Select> std::uint32_t findBit(std::uint32_t at, Select select) noexcept {
        for (;; at += kMaskedBytes) {
            if (at >= m_safe || at < m_begin) [[unlikely]] {
                slideTo(at);
            }
            const CanonMasks* const block = m_masks + (at - m_begin) / kMaskedBytes;
            const std::uint64_t bits = joined(select(block[0]), select(block[1]), at);
            if (bits != 0) [[likely]] {
                return at + static_cast<std::uint32_t>(__builtin_ctzll(bits));
            }
        }
    }

    const char* m_text;
    const std::uint32_t m_size;
    const MakeCanonMasks m_make;
    std::uint32_t m_limit = 0;
    std::uint32_t m_begin = 0; // of the stretch
    std::uint32_t m_safe = 0;  // 64 bits from any offset before this one lie in the stretch
    CanonMasks m_masks[kBlocks + 1];
};

inline TagShape CanonWindow::tagAt(std::uint32_t at) noexcept {
    // A long tag may begin before the stretch that its end lies in.
    if (at >= m_safe || at < m_begin) [[unlikely]] {
        slideTo(at);
    }
    TagShape shape;
    const std::uint64_t greater = word(&CanonMasks::greater, at);
    if (greater == 0) {
        return shape;
    }
    shape.close = static_cast<std::uint32_t>(__builtin_ctzll(greater));
    const std::uint64_t inTag = (greater & (0 - greater)) - 1;
    shape.selfClosing = m_text[at + shape.close - 1] == '/';
    const std::uint32_t slash = shape.selfClosing ? 1 : 0;
    const std::uint32_t blank = shape.selfClosing && m_text[at + shape.close - 2] == ' ' ? 1 : 0;
    shape.contentEnd = shape.close - slash - blank;
    const std::uint64_t inContent = (std::uint64_t{1} << shape.contentEnd) - 1;
    const std::uint64_t quotes = word(&CanonMasks::quote, at) & inTag;
    const std::uint64_t inside = runningParity(quotes); // a value with its opening quote
    const std::uint64_t blanks = word(&CanonMasks::space, at) & inContent & ~inside;
    const std::uint64_t closing = quotes & ~inside;
    // One space before each attribute and none elsewhere: the first space ends the name, each other
    // one follows a closing quote, and a closing quote ends the tag.
    const std::uint64_t first = blanks & (0 - blanks);
    const std::uint64_t behindValues = (closing << 1) & inContent;
    const bool closed = ((closing >> (shape.contentEnd - 1)) & 1U) != 0;
    const bool wellSpaced = blanks == (behindValues | first) && closed == (blanks != 0);
    const std::uint64_t odd = word(&CanonMasks::odd, at) | word(&CanonMasks::hard, at);
    shape.tidy = wellSpaced && (odd & inTag) == 0;
    shape.blanks = blanks;
    shape.nameEnd =
        blanks == 0 ? shape.contentEnd : static_cast<std::uint32_t>(__builtin_ctzll(blanks));
    const std::uint64_t colons = word(&CanonMasks::colon, at) & inTag & ~inside;
    const std::uint64_t inName = colons & ((std::uint64_t{1} << shape.nameEnd) - 1);
    shape.prefixLength = inName == 0 ? 0 : static_cast<std::uint32_t>(__builtin_ctzll(inName)) - 1;
    shape.colons = colons ^ inName;
    return shape;
}

} // namespace vantrel::xml

#endif
