// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_STOP_SEARCH_BLOCKS_H
#define FOUNDATION_XML_CANON_STOP_SEARCH_BLOCKS_H

#include "foundation/xml/canon/canon_window.h"
#include "foundation/xml/canon/start_tag_writer.h"

#include <cstdint>
#include <string_view>

// What the functions of a search are compiled for; the file of a kernel says it before.
#ifndef VANTREL_STOP_TARGET
#define VANTREL_STOP_TARGET
#endif
#define VANTREL_STOP_INLINE [[gnu::always_inline]] VANTREL_STOP_TARGET

namespace vantrel::xml {

// Something is flagged at `place`. Outside of tags: whether the character may stay.
[[nodiscard]] bool mayStayInText(const char* place) noexcept;
// In a tag: whether the character, of a value, may stay.
[[nodiscard]] bool mayStayInValue(const char* place) noexcept;
// At a blank of a tag that is not its first: true when it parts two attributes whose names are in
// order, whatever the namespaces: unqualified ones ascending, and behind them those of one prefix
// with their local parts ascending; `byLocalName`: those of a prefix may not stand anywhere.
// `before` is the blank in front of the first of the two.
[[nodiscard]] bool areInOrder(const char* text, std::uint32_t before, std::uint32_t blank,
                              bool byLocalName) noexcept;
// The blank of the tag before `blank`.
[[nodiscard]] std::uint32_t blankBefore(const char* text, std::uint32_t blank) noexcept;
// The last '<' before `place`, which is in a tag; and the last '<' or space before a colon or an
// end of a name.
[[nodiscard]] std::uint32_t tagStartBefore(const char* text, std::uint32_t place) noexcept;
[[nodiscard]] std::uint32_t nameStartBefore(const char* text, std::uint32_t place) noexcept;

// A search for stops (stop_search.h), block by block of the masks. `Bits` has what takes special
// instructions; `kByPrefix`: whether names are looked at for prefixes that must be declared. All of
// it is inlined into the kernel, so that it is compiled for the kernel's processor and what is
// carried from block to block stays in registers.
template <class Bits, bool kByPrefix> class StopSearch final {
public:
    VANTREL_STOP_INLINE StopSearch(CanonWindow& window, StartTagWriter& tags, std::string_view text,
                                   std::uint32_t limit)
        : m_window(window), m_tags(tags), m_text(text.data()), m_limit(limit),
          m_rules(tags.stopRules()), m_isDefaultClear(kByPrefix && tags.isDefaultClearUpTo(limit)) {
    }

    [[nodiscard]] VANTREL_STOP_INLINE std::uint32_t run(std::uint32_t at) {
        if (at >= m_limit) {
            return m_limit;
        }
        m_keep = ~std::uint64_t{0} << (at % kMaskedBytes);
        for (m_base = at - at % kMaskedBytes;;) {
            for (const CanonMasks& masks : m_window.blocksFrom(m_base)) {
                const std::uint32_t stop = passBlock(masks);
                if (stop != kGoOn) {
                    return stop;
                }
                m_keep = ~std::uint64_t{0};
                m_base += kMaskedBytes;
            }
        }
    }

private:
    static constexpr std::uint32_t kGoOn = ~std::uint32_t{0};
    static constexpr std::uint32_t kNone = ~std::uint32_t{0};

    // What the bits of a block say in the light of those before; nothing from the limit on.
    struct Block {
        bool isLast;           // the limit lies in it, or at its end
        std::uint64_t less;    // '<'
        std::uint64_t colon;   // ':'
        std::uint64_t inTag;   // from a '<' up to before its '>'
        std::uint64_t inValue; // a value and its opening quote
        std::uint64_t blanks;  // spaces in tags outside of values
        std::uint64_t closing; // '>' of tags
        std::uint64_t inText;  // flagged outside of tags
        std::uint64_t ordered; // flagged: blanks that part attributes
        // Where names to be looked at end, in the colon if they have one: all with a prefix, and
        // those of elements without one while the default namespace is not clear.
        std::uint64_t names;
        std::uint64_t events; // all that is flagged, and those names
    };

    VANTREL_STOP_INLINE static std::uint64_t from(std::uint32_t bit) noexcept {
        return ~std::uint64_t{0} << bit;
    }
    VANTREL_STOP_INLINE static std::uint32_t lowest(std::uint64_t bits) noexcept {
        return static_cast<std::uint32_t>(__builtin_ctzll(bits));
    }
    VANTREL_STOP_INLINE std::uint32_t lastOf(std::uint64_t bits) const noexcept {
        return m_base + (63 ^ static_cast<std::uint32_t>(__builtin_clzll(bits)));
    }
    // The '<' of the tag that holds `bit`.
    VANTREL_STOP_INLINE std::uint32_t tagStart(const Block& block, std::uint32_t bit) const {
        const std::uint64_t before = block.less & ~from(bit);
        return before != 0 ? lastOf(before) : tagStartBefore(m_text, m_base + bit);
    }
    // All up to the lowest bit and with it; everything without one.
    VANTREL_STOP_INLINE static std::uint64_t upToLowest(std::uint64_t bits) noexcept {
        return bits ^ (bits - 1);
    }
    // From each of the bits `starts` on, the first bit that is one of `ends`; `goesOn` is the run
    // that the last block left open, and then whether one goes on behind this one. No two runs
    // meet: between two starts is an end. The addition carries each start through the zeros of
    // `ends`.
    VANTREL_STOP_INLINE static std::uint64_t firstOf(std::uint64_t ends, std::uint64_t starts,
                                                     std::uint64_t& goesOn) noexcept {
        std::uint64_t sum = 0;
        const bool open = __builtin_add_overflow(starts | goesOn, ~ends, &sum);
        goesOn = open ? 1 : 0;
        return sum & ends;
    }

    VANTREL_STOP_INLINE std::uint32_t passBlock(const CanonMasks& masks) {
        const bool isLast = m_limit - m_base <= kMaskedBytes;
        // Nothing but character data is the rule where much of it stands together, as in an
        // attachment written in base64.
        if ((masks.less | masks.greater | masks.hard) == 0 && (m_inTag | m_afterLess) == 0) {
            return isLast ? m_limit : kGoOn;
        }
        const Block block = readBlock(masks, isLast);
        if (kByPrefix && m_open != kNone && !passOpenTag(block)) {
            return m_open;
        }
        for (std::uint64_t events = block.events; events != 0; events &= events - 1) {
            const std::uint32_t bit = lowest(events);
            const bool isName = kByPrefix && (block.names >> bit & 1) != 0;
            const std::uint32_t stop =
                isName ? passName(block, bit, events & (events - 1)) : passFlagged(block, bit);
            if (stop != kGoOn) {
                return stop;
            }
        }
        if (isLast) {
            const bool cutsTag = (block.inTag >> (m_limit - 1 - m_base) & 1) != 0;
            return cutsTag ? tagStartBefore(m_text, m_limit) : m_limit;
        }
        m_inTag = 0 - (block.inTag >> 63);
        m_inValue = 0 - (block.inValue >> 63);
        m_afterLess = block.less >> 63;
        m_afterBlank = block.blanks >> 63;
        return kGoOn;
    }

    VANTREL_STOP_INLINE Block readBlock(const CanonMasks& masks, bool isLast) noexcept {
        const std::uint64_t upTo = isLast ? ~from(m_limit - 1 - m_base) << 1 | 1 : from(0);
        const std::uint64_t less = masks.less & m_keep;
        const std::uint64_t greater = masks.greater & m_keep;
        const std::uint64_t hard = masks.hard & m_keep;
        // This goes wrong behind a '>' that closes no tag; those are flagged, and nothing behind
        // the first of what is flagged is believed.
        const std::uint64_t inTag = Bits::runningParity(less | greater) ^ m_inTag;
        const std::uint64_t inValue = Bits::runningParity(masks.quote & inTag) ^ m_inValue;
        const std::uint64_t blanks = masks.space & inTag & ~inValue;
        const std::uint64_t afterLess = less << 1 | m_afterLess;
        const std::uint64_t afterBlank = blanks << 1 | m_afterBlank;
        const std::uint64_t startTags = afterLess & ~masks.slash;
        const std::uint64_t firstBlanks = firstOf(blanks | less, afterLess, m_beforeBlank);
        Block block{};
        block.isLast = isLast;
        block.less = less;
        block.colon = masks.colon;
        block.inTag = inTag;
        block.inValue = inValue;
        block.blanks = blanks;
        block.closing = greater & ~inTag & ~inValue & upTo;
        block.inText = (greater & inTag) | (hard & ~inTag);
        block.ordered = blanks & ~firstBlanks;
        block.events = hard | (greater & inTag) | (masks.odd & inTag) |
                       (greater & (inValue | afterBlank)) | (masks.bang & afterLess) |
                       (masks.slash & inTag & ~inValue & ~afterLess) | block.ordered;
        if (m_rules.everyTag) {
            block.events |= startTags;
        }
        if (kByPrefix) {
            const std::uint64_t ends = less | blanks | masks.greater | masks.quote | masks.colon;
            block.names = firstOf(ends, startTags | afterBlank, m_inName) & masks.colon;
            if (!m_isDefaultClear) {
                block.names |= firstOf(ends, startTags, m_inTagName);
            }
            block.events |= block.names;
        }
        block.events &= upTo;
        return block;
    }

    // A tag that was left open in an earlier block: false when it must be written instead.
    VANTREL_STOP_INLINE bool passOpenTag(const Block& block) {
        const std::uint64_t closing = block.closing;
        if ((block.events & upToLowest(closing)) != 0 || (closing == 0 && block.isLast)) {
            return false;
        }
        if (m_openNameEnd == 0 && (block.blanks | closing) != 0) {
            m_openNameEnd = m_base + lowest(block.blanks | closing);
        }
        if (closing != 0) {
            m_tags.declareInName(m_open, m_openNameEnd, m_openPrefix);
            m_open = kNone;
        }
        return true;
    }

    // A name that ends at `bit`, or before its colon there. Where the prefix must be declared and
    // is that of an element, and the tag has none of `others`, the rest of what happens in the
    // block, the declaration is written on the way. Everything before `bit` is right, or it would
    // have been a stop.
    VANTREL_STOP_INLINE std::uint32_t passName(const Block& block, std::uint32_t bit,
                                               std::uint64_t others) {
        const std::uint64_t before = (block.less | block.blanks) & ~from(bit);
        const std::uint32_t start =
            before != 0 ? lastOf(before) : nameStartBefore(m_text, m_base + bit);
        const std::uint32_t length = (block.colon >> bit & 1) != 0 ? m_base + bit - start - 1 : 0;
        NamespaceState::PrefixId prefix = 0;
        if (!m_tags.mustDeclare(start + 1, length, prefix)) {
            return kGoOn;
        }
        if (m_text[start] != '<') { // that of an attribute
            return tagStart(block, bit);
        }
        const std::uint64_t closing = block.closing & from(bit);
        if ((others & upToLowest(closing)) != 0 || (closing == 0 && block.isLast)) {
            return start;
        }
        const std::uint64_t behindName = (block.blanks & from(bit)) | closing;
        const std::uint32_t nameEnd = behindName != 0 ? m_base + lowest(behindName) : 0;
        if (closing != 0) {
            m_tags.declareInName(start, nameEnd, prefix);
        } else {
            m_open = start;
            m_openNameEnd = nameEnd;
            m_openPrefix = prefix;
        }
        return kGoOn;
    }

    VANTREL_STOP_INLINE std::uint32_t passFlagged(const Block& block, std::uint32_t bit) {
        const std::uint32_t place = m_base + bit;
        if ((block.inText >> bit & 1) != 0) {
            return mayStayInText(m_text + place) ? kGoOn : place;
        }
        bool mayStay = false;
        if ((block.ordered >> bit & 1) != 0) {
            const std::uint64_t earlier = block.blanks & ~from(bit);
            const std::uint32_t before =
                earlier != 0 ? lastOf(earlier) : blankBefore(m_text, place);
            mayStay = areInOrder(m_text, before, place, m_rules.byLocalName);
        } else {
            mayStay = mayStayInValue(m_text + place);
        }
        return mayStay ? kGoOn : tagStart(block, bit);
    }

    CanonWindow& m_window;
    StartTagWriter& m_tags;
    const char* const m_text;
    const std::uint32_t m_limit;
    const StopRules m_rules;
    const bool m_isDefaultClear; // up to the limit
    std::uint32_t m_base = 0;    // of the block
    std::uint64_t m_keep = 0;    // what of it lies behind the beginning
    // Carried from one block to the next.
    std::uint64_t m_inTag = 0;   // all ones within a tag
    std::uint64_t m_inValue = 0; // all ones within a value
    // Each 0 or 1: the last byte was a '<' or a blank, or a run that began at one goes on.
    std::uint64_t m_afterLess = 0;
    std::uint64_t m_afterBlank = 0;
    std::uint64_t m_beforeBlank = 0;
    std::uint64_t m_inName = 0;
    std::uint64_t m_inTagName = 0;
    // A tag that has to declare the prefix of its name, and goes on in the block.
    std::uint32_t m_open = kNone;
    std::uint32_t m_openNameEnd = 0; // 0: not seen yet
    NamespaceState::PrefixId m_openPrefix = 0;
};

} // namespace vantrel::xml

#endif
