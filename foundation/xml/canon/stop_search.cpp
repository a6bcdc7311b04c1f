// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/stop_search.h"

#include "foundation/xml/canon/escape.h"
#include "foundation/xml/canon/stop_search_blocks.h"

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vantrel::xml {

namespace {

struct PortableStopBits {
    static std::uint64_t runningParity(std::uint64_t bits) noexcept {
        return xml::runningParity(bits);
    }
};

std::uint32_t findStopPortable(CanonWindow& window, StartTagWriter& tags, std::string_view text,
                               std::uint32_t at, std::uint32_t limit) {
    return tags.stopRules().byPrefix
               ? StopSearch<PortableStopBits, true>(window, tags, text, limit).run(at)
               : StopSearch<PortableStopBits, false>(window, tags, text, limit).run(at);
}

constexpr StopSearchKernel kStopSearchKernels[] = {
#if defined(__x86_64__)
    {"bmi2", cpu::Feature::Bmi2 | cpu::Feature::Pclmul, findStopX86Bmi2},
#endif
    {"portable", cpu::Feature::None, findStopPortable},
};
static_assert(cpu::isKernelList(kStopSearchKernels));

} // namespace

const StopSearchKernel& chosenStopSearchKernel() noexcept {
    return cpu::chosenKernel(kStopSearchKernels);
}

// "&amp;" is the rule.
bool mayStayInText(const char* at) noexcept {
    return *at == '&' && (std::memcmp(at, "&amp;", 5) == 0 || canonicalReference(at) != 0);
}

bool mayStayInValue(const char* at) noexcept {
    return *at == '&' && (std::memcmp(at, "&amp;", 5) == 0 || canonicalAttributeReference(at) != 0);
}

// Of a tag of many attributes it may be far away.
std::uint32_t tagStartBefore(const char* text, std::uint32_t place) noexcept {
#if defined(__SSE2__)
    constexpr std::uint32_t kBlock = sizeof(__m128i);
    for (const __m128i less = _mm_set1_epi8('<'); place >= kBlock; place -= kBlock) {
        __m128i block;
        std::memcpy(&block, text + place - kBlock, kBlock);
        const auto found = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, less)));
        if (found != 0) {
            const auto behind = static_cast<unsigned>(__builtin_clz(found)) - 16; // of 16 bits
            return place - 1 - behind;
        }
    }
#endif
    do {
        --place;
    } while (text[place] != '<');
    return place;
}

std::uint32_t nameStartBefore(const char* text, std::uint32_t place) noexcept {
    do {
        --place;
    } while (text[place] != '<' && text[place] != ' ');
    return place;
}

// Back over the value, with its quotes, that ends before `blank`, and over the name.
std::uint32_t blankBefore(const char* text, std::uint32_t blank) noexcept {
    std::uint32_t place = blank - 1;
    if (text[place] == '"') {
        do {
            --place;
        } while (text[place] != '"');
    }
    return nameStartBefore(text, place);
}

bool areInOrder(const char* text, std::uint32_t before, std::uint32_t blank,
                bool byLocalName) noexcept {
    const char* one = text + before + 1;
    const char* other = text + blank + 1;
    // Behind other white space, and where the tag ends, no name need follow.
    if (text[blank - 1] != '"' || static_cast<unsigned char>(*other) <= ' ' || *other == '/' ||
        *other == '>') {
        return false;
    }
    const auto isUnprefixed = [](const char* name) {
        while (*name != '=' && *name != ':') {
            ++name;
        }
        return *name == '=';
    };
    bool samePrefix = false;
    for (; *one == *other && *one != '='; ++one, ++other) {
        samePrefix = samePrefix || *one == ':';
    }
    const bool ascends = *other != '=' && (*one == '=' || static_cast<unsigned char>(*one) <
                                                              static_cast<unsigned char>(*other));
    if (samePrefix) {
        return ascends && !byLocalName;
    }
    return isUnprefixed(one) && (isUnprefixed(other) ? ascends : !byLocalName);
}

} // namespace vantrel::xml
