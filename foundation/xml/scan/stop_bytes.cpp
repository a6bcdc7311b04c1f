// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/stop_bytes.h"

#if defined(__x86_64__)
#include <immintrin.h>
#elif defined(__aarch64__)
#include "foundation/text/neon.h"
#endif

namespace vantrel::xml::detail {
namespace {

bool isStop(char c, const StopSet& set) noexcept {
    bool hit = false;
    for (const char stop : set.bytes) {
        hit |= c == stop;
    }
    return hit;
}

std::uint32_t findPortable(const char* text, std::uint32_t at, std::uint32_t size,
                           const StopSet& set) noexcept {
    while (at < size && !isStop(text[at], set)) {
        ++at;
    }
    return at;
}

#if defined(__x86_64__)

std::uint32_t findSse2(const char* text, std::uint32_t at, std::uint32_t size,
                       const StopSet& set) noexcept {
    for (; size - at >= 16; at += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at));
        __m128i hit = _mm_setzero_si128();
        for (const char stop : set.bytes) {
            hit = _mm_or_si128(hit, _mm_cmpeq_epi8(block, _mm_set1_epi8(stop)));
        }
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(hit));
        if (mask != 0) {
            return at + static_cast<std::uint32_t>(__builtin_ctz(mask));
        }
    }
    return findPortable(text, at, size, set);
}

__attribute__((target("avx2"))) std::uint32_t findAvx2(const char* text, std::uint32_t at,
                                                       std::uint32_t size,
                                                       const StopSet& set) noexcept {
    for (; size - at >= 32; at += 32) {
        const __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + at));
        __m256i hit = _mm256_setzero_si256();
        for (const char stop : set.bytes) {
            hit = _mm256_or_si256(hit, _mm256_cmpeq_epi8(block, _mm256_set1_epi8(stop)));
        }
        const auto mask = static_cast<unsigned>(_mm256_movemask_epi8(hit));
        if (mask != 0) {
            return at + static_cast<std::uint32_t>(__builtin_ctz(mask));
        }
    }
    return findSse2(text, at, size, set);
}

__attribute__((target("avx512f,avx512bw,avx512vl"))) std::uint32_t findAvx512(
    const char* text, std::uint32_t at, std::uint32_t size, const StopSet& set) noexcept {
    for (; size - at >= 64; at += 64) {
        const __m512i block = _mm512_loadu_si512(text + at);
        std::uint64_t mask = 0;
        for (const char stop : set.bytes) {
            mask |= _mm512_cmpeq_epi8_mask(block, _mm512_set1_epi8(stop));
        }
        if (mask != 0) {
            return at + static_cast<std::uint32_t>(__builtin_ctzll(mask));
        }
    }
    return findSse2(text, at, size, set);
}

#elif defined(__aarch64__)

std::uint32_t findNeon(const char* text, std::uint32_t at, std::uint32_t size,
                       const StopSet& set) noexcept {
    for (; size - at >= 16; at += 16) {
        const uint8x16_t block = text::loadNeon(text + at);
        uint8x16_t hit = vdupq_n_u8(0);
        for (const char stop : set.bytes) {
            hit = vorrq_u8(hit, text::equalsNeon(block, stop));
        }
        const unsigned place = text::firstNeon(hit);
        if (place < 16) {
            return at + place;
        }
    }
    return findPortable(text, at, size, set);
}

#endif

constexpr FindStopKernel kKernels[] = {
#if defined(__x86_64__)
    {"avx512", cpu::Feature::Avx512, findAvx512},
    {"avx2", cpu::Feature::Avx2, findAvx2},
    {"sse2", cpu::Feature::Sse2, findSse2},
#elif defined(__aarch64__)
    {"neon", cpu::Feature::Neon, findNeon},
#endif
    {"portable", cpu::Feature::None, findPortable},
};
static_assert(cpu::isKernelList(kKernels));

} // namespace

std::span<const FindStopKernel> findStopKernels() noexcept { return kKernels; }

std::uint32_t findStopFar(const char* text, std::uint32_t at, std::uint32_t size,
                          const StopSet& set) noexcept {
    return cpu::chosenKernel(kKernels).run(text, at, size, set);
}

} // namespace vantrel::xml::detail
