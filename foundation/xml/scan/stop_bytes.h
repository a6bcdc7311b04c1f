// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_STOP_BYTES_H
#define FOUNDATION_XML_SCAN_STOP_BYTES_H

#include "foundation/cpu/kernel_list.h"

#include <cstdint>
#include <span>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vantrel::xml {

// Searches for the next byte that ends a run. Each looks at text[at, size) and returns the offset
// of the first stop byte, or `size`. Only bytes of the range are read. The runs between markup are
// short as a rule, so the search is inline over 16 bytes at a time; long runs go on in a kernel
// that is chosen for the CPU at run time.

namespace detail {

// Stop bytes as a list of six; unused places repeat the first.
struct StopSet {
    char bytes[6];
};
using FindStop = std::uint32_t (*)(const char* text, std::uint32_t at, std::uint32_t size,
                                   const StopSet& set) noexcept;
using FindStopKernel = cpu::Kernel<FindStop>;
[[nodiscard]] std::span<const FindStopKernel> findStopKernels() noexcept;
// The search by the first of them that may run here.
[[nodiscard]] std::uint32_t findStopFar(const char* text, std::uint32_t at, std::uint32_t size,
                                        const StopSet& set) noexcept;

} // namespace detail

// `<`, `&`, `>` and CR: what character data must be searched for when it is written canonically.
[[nodiscard]] inline std::uint32_t findTextStop(const char* text, std::uint32_t at,
                                                std::uint32_t size) noexcept {
#if defined(__SSE2__)
    if (size - at >= 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at));
        const __m128i hit = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('<')),
                                                      _mm_cmpeq_epi8(block, _mm_set1_epi8('&'))),
                                         _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('>')),
                                                      _mm_cmpeq_epi8(block, _mm_set1_epi8('\r'))));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(hit));
        if (mask != 0) {
            return at + static_cast<std::uint32_t>(__builtin_ctz(mask));
        }
        at += 16;
    }
#endif
    return detail::findStopFar(text, at, size, {{'<', '&', '>', '\r', '<', '<'}});
}

// `quote`, `<`, `&`, TAB, LF and CR: what an attribute value must be searched for.
[[nodiscard]] inline std::uint32_t findAttributeStop(const char* text, std::uint32_t at,
                                                     std::uint32_t size, char quote) noexcept {
#if defined(__SSE2__)
    if (size - at >= 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at));
        const __m128i special =
            _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8(quote)),
                         _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('&')),
                                      _mm_cmpeq_epi8(block, _mm_set1_epi8('<'))));
        const __m128i white =
            _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('\t')),
                         _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('\n')),
                                      _mm_cmpeq_epi8(block, _mm_set1_epi8('\r'))));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(special, white)));
        if (mask != 0) {
            return at + static_cast<std::uint32_t>(__builtin_ctz(mask));
        }
        at += 16;
    }
#endif
    return detail::findStopFar(text, at, size, {{quote, '<', '&', '\t', '\n', '\r'}});
}

// A single byte: memchr.
[[nodiscard]] inline std::uint32_t findByte(const char* text, std::uint32_t at, std::uint32_t size,
                                            char byte) noexcept {
    const void* const hit = __builtin_memchr(text + at, byte, size - at);
    return hit == nullptr ? size : static_cast<std::uint32_t>(static_cast<const char*>(hit) - text);
}

} // namespace vantrel::xml

#endif
