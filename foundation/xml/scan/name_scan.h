// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_NAME_SCAN_H
#define FOUNDATION_XML_SCAN_NAME_SCAN_H

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vantrel::xml {

// A qualified name of a checked document: its length and that of its prefix (0 without a colon).
struct ScannedName {
    std::uint32_t length;
    std::uint32_t prefixLength;
};

// Reads the name at `at`. What ends a name in a checked tag is white space, '=', '/' or '>'.
[[nodiscard]] inline ScannedName scanNameSlowly(const char* text, std::uint32_t at) noexcept {
    ScannedName name{0, 0};
    for (;; ++name.length) {
        const auto c = static_cast<unsigned char>(text[at + name.length]);
        if (c <= 0x20 || c == '=' || c == '/' || c == '>') {
            return name;
        }
        if (c == ':') {
            name.prefixLength = name.length;
        }
    }
}

[[nodiscard]] inline ScannedName scanName(const char* text, std::uint32_t at,
                                          [[maybe_unused]] std::uint32_t size) noexcept {
#if defined(__SSE2__)
    std::uint32_t prefixLength = 0;
    for (std::uint32_t from = at; size - from >= 16; from += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + from));
        const __m128i blank = _mm_cmpeq_epi8(_mm_min_epu8(block, _mm_set1_epi8(0x20)), block);
        // '=' and '>' differ from '?' and each other in the two lowest bits only; no name holds
        // '<', '?' or ';' either, so one comparison of the rest of the byte serves.
        const __m128i high = _mm_and_si128(block, _mm_set1_epi8(static_cast<char>(0xFC)));
        const __m128i sign = _mm_or_si128(_mm_cmpeq_epi8(high, _mm_set1_epi8(0x3C)),
                                          _mm_cmpeq_epi8(block, _mm_set1_epi8('/')));
        const auto ends = static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(blank, sign)));
        auto colons =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8(':'))));
        // Those in front of the end, which is the lowest bit.
        colons &= ends == 0 ? ~0U : (ends & (0U - ends)) - 1U;
        if (colons != 0) {
            prefixLength = from - at + static_cast<unsigned>(__builtin_ctz(colons));
        }
        if (ends != 0) [[likely]] {
            return {from - at + static_cast<unsigned>(__builtin_ctz(ends)), prefixLength};
        }
    }
#endif
    return scanNameSlowly(text, at);
}

} // namespace vantrel::xml

#endif
