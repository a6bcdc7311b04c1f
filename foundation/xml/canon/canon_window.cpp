// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/canon_window.h"

#include "foundation/xml/canon/escape.h"

#include <algorithm>
#include <cstring>

namespace vantrel::xml {

// What the walk over blocks carries from one to the next.
struct CanonWindow::Carried {
    std::uint64_t inTag = 0;   // all ones within a tag
    std::uint64_t inValue = 0; // all ones within a value
    // Each 0 or 1: the last byte was a '<' or a blank, or a run that began at one goes on.
    std::uint64_t afterLess = 0;
    std::uint64_t afterBlank = 0;
    std::uint64_t beforeBlank = 0;
    std::uint64_t inName = 0;
    std::uint64_t inTagName = 0;
    std::uint32_t tagStart = 0;  // of the last tag
    std::uint32_t nameStart = 0; // of the last name in it
    std::uint32_t blank = 0;     // the last blank in it
};

// One block, with what its bits say in the light of those before.
struct CanonWindow::Block {
    std::uint64_t less;
    std::uint64_t inTag;
    std::uint64_t inText; // of what is flagged
    std::uint64_t blanks;
    std::uint64_t laterBlanks; // but for the first of each tag
    std::uint64_t tagNames;    // where the names of start tags begin
    std::uint64_t nameStarts;  // and those of attributes
    std::uint64_t flagged;     // all that may not be canonical
};

namespace {

constexpr std::uint64_t bitsBelow(std::uint32_t bit) noexcept {
    return (std::uint64_t{1} << bit) - 1;
}

std::uint32_t lowest(std::uint64_t bits) noexcept {
    return static_cast<std::uint32_t>(__builtin_ctzll(bits));
}

constexpr std::uint64_t bitsUpTo(std::uint32_t bit) noexcept {
    return ~std::uint64_t{0} >> (63 - bit);
}

// The offset of the highest bit, or `before` without any.
std::uint32_t lastOf(std::uint64_t bits, std::uint32_t base, std::uint32_t before) noexcept {
    return bits == 0 ? before : base + 63 - static_cast<std::uint32_t>(__builtin_clzll(bits));
}

// At a blank of a tag that is not its first: true when it parts two attributes without prefixes
// whose names are in order. `before` is the blank in front of the first of the two.
bool areInOrder(const char* text, std::uint32_t before, std::uint32_t blank) noexcept {
    const char* one = text + before + 1;
    const char* other = text + blank + 1;
    // Behind other white space, and where the tag ends, no name need follow.
    if (text[blank - 1] != '"' || static_cast<unsigned char>(*other) <= ' ' || *other == '/' ||
        *other == '>') {
        return false;
    }
    while (*one == *other && *one != '=' && *one != ':') {
        ++one;
        ++other;
    }
    if (*other == '=' ||
        (*one != '=' && static_cast<unsigned char>(*one) > static_cast<unsigned char>(*other))) {
        return false;
    }
    const auto isUnprefixed = [](const char* name) {
        while (*name != '=' && *name != ':') {
            ++name;
        }
        return *name == '=';
    };
    return isUnprefixed(one) && isUnprefixed(other);
}

// From each of the bits `starts` on, the first bit that is one of `ends`; `goesOn` is the run that
// the last block left open, and then whether one goes on behind this one. No two runs meet: between
// two starts is an end. The addition carries each start through the zeros of `ends`.
std::uint64_t firstOf(std::uint64_t ends, std::uint64_t starts, std::uint64_t& goesOn) noexcept {
    std::uint64_t sum = 0;
    const bool open = __builtin_add_overflow(starts | goesOn, ~ends, &sum);
    goesOn = open ? 1 : 0;
    return sum & ends;
}

} // namespace

// `keep` has the bits from the place on where the walk begins.
inline CanonWindow::Block CanonWindow::readBlock(const CanonMasks& masks, std::uint64_t keep,
                                                 Carried& carried) noexcept {
    Block block{};
    const std::uint64_t greater = masks.greater & keep;
    block.less = masks.less & keep;
    // This goes wrong behind a '>' that closes no tag; those are flagged, and nothing behind the
    // first of what is flagged is believed.
    const std::uint64_t inTag = runningParity(block.less | greater) ^ carried.inTag;
    const std::uint64_t inValue = runningParity(masks.quote & inTag) ^ carried.inValue;
    const std::uint64_t hard = masks.hard & keep;
    const std::uint64_t strayGreater = greater & inTag;
    block.inTag = inTag;
    block.inText = strayGreater | (hard & ~inTag);
    block.blanks = masks.space & inTag & ~inValue;
    const std::uint64_t afterLess = block.less << 1 | carried.afterLess;
    const std::uint64_t afterBlank = block.blanks << 1 | carried.afterBlank;
    const std::uint64_t firstBlanks =
        firstOf(block.blanks | block.less, afterLess, carried.beforeBlank);
    block.laterBlanks = block.blanks & ~firstBlanks;
    block.tagNames = afterLess & ~masks.slash;
    block.nameStarts = block.tagNames | afterBlank;
    block.flagged = hard | strayGreater | (masks.odd & inTag) | (greater & (inValue | afterBlank)) |
                    (masks.bang & afterLess) | (masks.slash & inTag & ~inValue & ~afterLess) |
                    block.laterBlanks;

    carried.inTag = 0 - (inTag >> 63);
    carried.inValue = 0 - (inValue >> 63);
    carried.afterLess = block.less >> 63;
    carried.afterBlank = block.blanks >> 63;
    return block;
}

// Blocks are counted from the beginning of the text, so that a block is classified alike each time.
void CanonWindow::slideTo(std::uint32_t at) noexcept {
    m_begin = at / kMaskedBytes * kMaskedBytes;
    const std::uint32_t end = std::max(m_limit, at + 1);
    const std::uint32_t wanted =
        std::min((end - m_begin + kMaskedBytes - 1) / kMaskedBytes, kBlocks);
    const std::uint32_t whole = std::min(wanted, (m_size - m_begin) / kMaskedBytes);
    m_make(m_text + m_begin, whole, m_masks);
    std::uint32_t blocks = whole;
    if (whole < wanted) { // the last block of the text is filled up
        char tail[kMaskedBytes] = {};
        const std::uint32_t start = m_begin + whole * kMaskedBytes;
        std::memcpy(tail, m_text + start, m_size - start);
        m_make(tail, 1, m_masks + blocks);
        ++blocks;
    }
    m_masks[blocks] = CanonMasks{};
    const bool reachesEnd = m_begin + blocks * kMaskedBytes >= end;
    m_safe = m_begin + (reachesEnd ? blocks : blocks - 1) * kMaskedBytes;
}

std::uint32_t CanonWindow::findStop(std::uint32_t at, std::uint32_t limit,
                                    const StopRules& rules) noexcept {
    Carried carried;
    while (at < limit) {
        if (at >= m_safe || at < m_begin) [[unlikely]] {
            slideTo(at);
        }
        const CanonMasks& masks = m_masks[(at - m_begin) / kMaskedBytes];
        const std::uint32_t base = at / kMaskedBytes * kMaskedBytes;
        const Block block = readBlock(masks, ~std::uint64_t{0} << (at - base), carried);
        std::uint64_t flagged = block.flagged | (rules.everyTag ? block.tagNames : 0);
        if (rules.prefixes != nullptr) {
            flagged |= unclearNames(masks, block, base, *rules.prefixes, carried);
        }
        for (; flagged != 0; flagged &= flagged - 1) {
            const std::uint32_t bit = lowest(flagged);
            const std::uint32_t place = base + bit;
            if (place >= limit) {
                break;
            }
            const std::uint64_t below = bitsBelow(bit);
            if ((block.inText >> bit & 1) != 0) {
                if (canonicalReference(m_text + place) == 0) {
                    return place;
                }
                continue;
            }
            const bool later = (block.laterBlanks >> bit & 1) != 0;
            if (later
                    ? !areInOrder(m_text, lastOf(block.blanks & below, base, carried.blank), place)
                    : canonicalAttributeReference(m_text + place) == 0) {
                return lastOf(block.less & below, base, carried.tagStart);
            }
        }
        if (limit - base <= kMaskedBytes) {
            const std::uint32_t last = limit - 1 - base;
            return (block.inTag >> last & 1) == 0
                       ? limit
                       : lastOf(block.less & bitsUpTo(last), base, carried.tagStart);
        }
        carried.tagStart = lastOf(block.less, base, carried.tagStart);
        carried.nameStart = lastOf(block.nameStarts, base, carried.nameStart);
        carried.blank = lastOf(block.blanks, base, carried.blank);
        at = base + kMaskedBytes;
    }
    return limit;
}

// The names of start tags and attributes whose prefix is not among those that are clear, marked at
// the colon, or at their end where they have none.
std::uint64_t CanonWindow::unclearNames(const CanonMasks& masks, const Block& block,
                                        std::uint32_t base, const ClearPrefixes& clear,
                                        Carried& carried) const noexcept {
    const std::uint64_t ends =
        block.less | block.blanks | masks.greater | masks.quote | masks.colon;
    const std::uint64_t found = firstOf(ends, block.nameStarts, carried.inName);
    std::uint64_t unclear = 0;
    if (!clear.holdsDefault()) {
        unclear = firstOf(ends, block.tagNames, carried.inTagName) & ~masks.colon;
    }
    for (std::uint64_t colons = found & masks.colon; colons != 0; colons &= colons - 1) {
        const std::uint32_t bit = lowest(colons);
        const std::uint32_t start =
            lastOf(block.nameStarts & bitsBelow(bit), base, carried.nameStart);
        const std::uint32_t length = base + bit - start;
        const bool known =
            length <= 8 && m_size - start >= 8 && clear.holds(prefixKey(m_text + start, length));
        unclear |= known ? 0 : std::uint64_t{1} << bit;
    }
    return unclear;
}

} // namespace vantrel::xml
