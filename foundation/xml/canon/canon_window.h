// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_CANON_WINDOW_H
#define FOUNDATION_XML_CANON_CANON_WINDOW_H

#include "foundation/xml/canon/canon_masks.h"
#include "foundation/xml/canon/clear_prefixes.h"

#include <cstdint>
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

// What a walk stops at, besides what no method leaves as it is.
struct StopRules {
    bool everyTag = false; // every start tag
    // Start tags that use other prefixes than these; null: prefixes do not matter.
    const ClearPrefixes* prefixes = nullptr;
};

// Where a walk stops, and why.
struct CanonStop {
    std::uint32_t at = 0;
    // Not 0: all of the start tag may stay but for a declaration of the prefix of its name, which
    // may be due. It is to be written here, behind the name.
    std::uint32_t nameEnd = 0;
    std::uint32_t prefixLength = 0; // of that name
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

    // The walk begins at `begin`; the masks will not be asked for what lies behind `end`.
    void open(std::uint32_t begin, std::uint32_t end) noexcept {
        m_limit = end;
        slideTo(begin);
    }

    // The shape of the start tag at `at`. Tags longer than 64 bytes have no '>' in the word, so
    // they are never tidy; passOver (start_tag_writer.h) reads those.
    [[nodiscard]] TagShape tagAt(std::uint32_t at) noexcept;

    // Forgets what the rules of the last search said: others count from here on.
    void changeRules() noexcept { m_isRead = false; }
    // From `at`, which is outside of tags: the first place before `limit` where the text may not be
    // canonical as it stands, or else `limit`. The place is the '<' of a tag or of other markup, or
    // a character outside of tags. Whatever lies before it may stay: no look at it is needed. Where
    // `limit` cuts a tag through, the '<' of that tag.
    [[nodiscard]] const CanonStop& findStop(std::uint32_t at, std::uint32_t limit,
                                            const StopRules& rules) noexcept;
    // Goes on behind a stop that had a name's end: from there, within the tag. What is returned is
    // the same object.
    [[nodiscard]] const CanonStop& findNextStop(std::uint32_t limit,
                                                const StopRules& rules) noexcept;

private:
    // 8 KiB of text and a little more of masks: together half of a first-level cache.
    static constexpr std::uint32_t kBlocks = 128;

    // 64 bits from `at` on, which must lie before m_safe: the upper end of one word and the lower
    // end of the next. A shift by 64 is not defined, so the second is shifted in two steps.
    [[nodiscard]] std::uint64_t word(std::uint64_t CanonMasks::*row,
                                     std::uint32_t at) const noexcept {
        const std::uint32_t distance = at - m_begin;
        const CanonMasks* const block = m_masks + distance / kMaskedBytes;
        const std::uint32_t shift = distance % kMaskedBytes;
        return (block[0].*row >> shift) | ((block[1].*row << 1) << (63 - shift));
    }
    void slideTo(std::uint32_t at) noexcept;

    // What the walk over blocks carries from one to the next.
    struct Carried {
        std::uint64_t inTag = 0;   // all ones within a tag
        std::uint64_t inValue = 0; // all ones within a value
        // Each 0 or 1: the last byte was a '<' or a blank, or a run that began at one goes on.
        std::uint64_t afterLess = 0;
        std::uint64_t afterBlank = 0;
        std::uint64_t beforeBlank = 0;
        std::uint64_t inName = 0;
        std::uint64_t inTagName = 0;
        std::uint32_t tagStart = 0;  // of the last tag before the block
        std::uint32_t nameStart = 0; // of the last name in it
        std::uint32_t blank = 0;     // the last blank in it

        [[nodiscard]] bool isInText() const noexcept { return (inTag | afterLess) == 0; }
    };
    // What the bits of a block say in the light of those before.
    struct Block {
        std::uint64_t less;
        std::uint64_t inTag;
        std::uint64_t inText; // of what is flagged
        std::uint64_t blanks;
        std::uint64_t laterBlanks; // but for the first of each tag
        std::uint64_t tagNames;    // where the names of start tags begin
        std::uint64_t nameStarts;  // and those of attributes
        std::uint64_t closing;     // '>' of tags
        std::uint64_t unclear;     // flagged: names whose prefix is not clear
        std::uint64_t misleading;  // flagged, and what is behind it was not understood
    };

    void readBlock(std::uint32_t at, const StopRules& rules) noexcept;
    void goOn(std::uint32_t limit, const StopRules& rules) noexcept;
    [[nodiscard]] bool stopsInBlock(std::uint32_t limit) noexcept;
    void stopAtTag(std::uint32_t bit, std::uint32_t limit) noexcept;
    [[nodiscard]] std::uint64_t unclearNames(const CanonMasks& masks,
                                             const ClearPrefixes& clear) noexcept;

    const char* m_text;
    const std::uint32_t m_size;
    const MakeCanonMasks m_make;
    std::uint32_t m_limit = 0;
    std::uint32_t m_begin = 0; // of the stretch
    std::uint32_t m_safe = 0;  // 64 bits from any offset before this one lie in the stretch
    // The block that findStop has reached.
    bool m_isRead = false;
    std::uint32_t m_base = 0;
    std::uint64_t m_flagged = 0; // what of it may not be canonical, and was not passed yet
    CanonStop m_stop;
    Block m_block{};
    Carried m_carried;
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
