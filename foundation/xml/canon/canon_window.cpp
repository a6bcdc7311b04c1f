// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/canon_window.h"

#include "foundation/xml/canon/escape.h"
#include "foundation/xml/scan/name_scan.h"

#include <algorithm>
#include <cstring>

namespace vantrel::xml {

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

// At '&' or any other character: whether it may stay. "&amp;" is the rule.
bool mayStayInText(const char* at) noexcept {
    return *at == '&' && (std::memcmp(at, "&amp;", 5) == 0 || canonicalReference(at) != 0);
}

bool mayStayInValue(const char* at) noexcept {
    return *at == '&' && (std::memcmp(at, "&amp;", 5) == 0 || canonicalAttributeReference(at) != 0);
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

// The names of start tags and attributes whose prefix is not among those that are clear, marked at
// the colon, or at their end where they have none.
inline std::uint64_t CanonWindow::unclearNames(const CanonMasks& masks,
                                               const ClearPrefixes& clear) noexcept {
    const std::uint64_t ends =
        m_block.less | m_block.blanks | masks.greater | masks.quote | masks.colon;
    const std::uint64_t found = firstOf(ends, m_block.nameStarts, m_carried.inName);
    std::uint64_t unclear = 0;
    if (!clear.holdsDefault()) {
        unclear = firstOf(ends, m_block.tagNames, m_carried.inTagName) & ~masks.colon;
    }
    for (std::uint64_t colons = found & masks.colon; colons != 0; colons &= colons - 1) {
        const std::uint32_t bit = lowest(colons);
        const std::uint32_t start =
            lastOf(m_block.nameStarts & bitsBelow(bit), m_base, m_carried.nameStart);
        const std::uint32_t length = m_base + bit - start;
        const bool known =
            length <= 8 && m_size - start >= 8 && clear.holds(prefixKey(m_text + start, length));
        unclear |= known ? 0 : std::uint64_t{1} << bit;
    }
    return unclear;
}

// Reads the block of `at`, from there on. One with nothing but character data is the rule where
// much of it stands together, as in an attachment written in base64.
inline void CanonWindow::readBlock(std::uint32_t at, const StopRules& rules) noexcept {
    if (at >= m_safe || at < m_begin) [[unlikely]] {
        slideTo(at);
    }
    const CanonMasks& masks = m_masks[(at - m_begin) / kMaskedBytes];
    if (((masks.less | masks.greater | masks.hard) == 0) && m_carried.isInText()) {
        m_base = at / kMaskedBytes * kMaskedBytes;
        m_block = {};
        m_flagged = 0;
        return;
    }
    const std::uint64_t keep = ~std::uint64_t{0} << (at % kMaskedBytes);
    const std::uint64_t less = masks.less & keep;
    const std::uint64_t greater = masks.greater & keep;
    const std::uint64_t hard = masks.hard & keep;
    // This goes wrong behind a '>' that closes no tag; those are flagged, and nothing behind the
    // first of what is flagged is believed.
    const std::uint64_t inTag = runningParity(less | greater) ^ m_carried.inTag;
    const std::uint64_t inValue = runningParity(masks.quote & inTag) ^ m_carried.inValue;
    const std::uint64_t blanks = masks.space & inTag & ~inValue;
    const std::uint64_t afterLess = less << 1 | m_carried.afterLess;
    const std::uint64_t afterBlank = blanks << 1 | m_carried.afterBlank;
    const std::uint64_t firstBlanks = firstOf(blanks | less, afterLess, m_carried.beforeBlank);
    const std::uint64_t strayGreater = greater & inTag;

    m_base = at / kMaskedBytes * kMaskedBytes;
    m_block.less = less;
    m_block.inTag = inTag;
    m_block.inText = strayGreater | (hard & ~inTag);
    m_block.blanks = blanks;
    m_block.laterBlanks = blanks & ~firstBlanks;
    m_block.tagNames = afterLess & ~masks.slash;
    m_block.nameStarts = m_block.tagNames | afterBlank;
    m_block.closing = greater & ~inTag & ~inValue;
    m_block.misleading =
        strayGreater | (greater & inValue) | (masks.bang & afterLess) | (masks.odd & inTag);
    m_flagged = m_block.misleading | hard | (greater & afterBlank) |
                (masks.slash & inTag & ~inValue & ~afterLess) | m_block.laterBlanks;
    m_carried.inTag = 0 - (inTag >> 63);
    m_carried.inValue = 0 - (inValue >> 63);
    m_carried.afterLess = less >> 63;
    m_carried.afterBlank = blanks >> 63;
    if (rules.everyTag) {
        m_flagged |= m_block.tagNames;
    }
    m_block.unclear = rules.prefixes == nullptr ? 0 : unclearNames(masks, *rules.prefixes);
    m_flagged |= m_block.unclear;
}

// Whether the walk ends in this block, and where: at something flagged or at `limit`.
inline bool CanonWindow::stopsInBlock(std::uint32_t limit) noexcept {
    for (; m_flagged != 0; m_flagged &= m_flagged - 1) {
        const std::uint32_t bit = lowest(m_flagged);
        const std::uint32_t place = m_base + bit;
        if (place >= limit) {
            break;
        }
        if ((m_block.inText >> bit & 1) != 0) {
            if (!mayStayInText(m_text + place)) {
                m_stop = {place};
                return true;
            }
            continue;
        }
        const bool later = (m_block.laterBlanks >> bit & 1) != 0;
        if (later ? !areInOrder(m_text,
                                lastOf(m_block.blanks & bitsBelow(bit), m_base, m_carried.blank),
                                place)
                  : !mayStayInValue(m_text + place)) {
            stopAtTag(bit, limit);
            return true;
        }
    }
    if (limit - m_base > kMaskedBytes) {
        return false;
    }
    const std::uint32_t last = limit - 1 - m_base;
    m_stop = {(m_block.inTag >> last & 1) == 0
                  ? limit
                  : lastOf(m_block.less & bitsUpTo(last), m_base, m_carried.tagStart)};
    return true;
}

// Something of the tag is flagged at `bit`. If that is the prefix of its name, and nothing else is,
// and the tag ends before `limit`, the stop says so.
inline void CanonWindow::stopAtTag(std::uint32_t bit, std::uint32_t limit) noexcept {
    const std::uint64_t below = bitsBelow(bit);
    m_stop = {lastOf(m_block.less & below, m_base, m_carried.tagStart)};
    const std::uint32_t place = m_base + bit;
    if ((m_block.unclear >> bit & 1) == 0 ||
        lastOf(m_block.nameStarts & below, m_base, m_carried.nameStart) != m_stop.at + 1) {
        return;
    }
    const std::uint64_t closing = m_block.closing & ~below;
    const std::uint64_t upToClosing = closing ^ (closing - 1); // all without one
    if ((m_flagged & upToClosing) != std::uint64_t{1} << bit) {
        return;
    }
    const std::uint64_t behindName = (m_block.blanks | closing) & ~below;
    std::uint32_t nameEnd = place;
    std::uint32_t end = place;
    if (closing != 0) {
        nameEnd = m_base + lowest(behindName);
        end = m_base + lowest(closing);
    } else if (behindName == 0) { // a name that goes on in the next block
        nameEnd += scanName(m_text, place, m_size).length;
        end = nameEnd;
    }
    if (m_text[end] == '>' && end < limit) {
        m_stop.prefixLength = m_text[place] == ':' ? place - m_stop.at - 1 : 0;
        m_stop.nameEnd = nameEnd;
    }
}

inline void CanonWindow::goOn(std::uint32_t limit, const StopRules& rules) noexcept {
    while (!stopsInBlock(limit)) {
        m_carried.tagStart = lastOf(m_block.less, m_base, m_carried.tagStart);
        m_carried.nameStart = lastOf(m_block.nameStarts, m_base, m_carried.nameStart);
        m_carried.blank = lastOf(m_block.blanks, m_base, m_carried.blank);
        readBlock(m_base + kMaskedBytes, rules);
    }
}

const CanonStop& CanonWindow::findStop(std::uint32_t at, std::uint32_t limit,
                                       const StopRules& rules) noexcept {
    if (at >= limit) {
        m_stop = {limit};
        return m_stop;
    }
    // What was read of the block still holds, unless something in it that was a stop misleads.
    const std::uint32_t into = at - m_base;
    if (m_isRead && into < kMaskedBytes && (m_block.misleading & bitsBelow(into)) == 0) {
        m_flagged &= ~bitsBelow(into);
    } else {
        m_carried = {};
        readBlock(at, rules);
        m_isRead = true;
    }
    goOn(limit, rules);
    return m_stop;
}

const CanonStop& CanonWindow::findNextStop(std::uint32_t limit, const StopRules& rules) noexcept {
    m_flagged &= m_flagged - 1;
    goOn(limit, rules);
    return m_stop;
}

} // namespace vantrel::xml
