// SPDX-License-Identifier: MIT
#include "foundation/text/multi_search_kernels.h"

#if defined(__x86_64__)

#include <bit>

#include <immintrin.h>

namespace vantrel::text {

namespace {

constexpr std::size_t kBlock = 32;

__attribute__((target("avx2"))) __m256i table(const std::array<std::uint8_t, 16>& bytes) noexcept {
    return _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes.data())));
}

// The buckets whose fingerprint may have these bytes at one place.
__attribute__((target("avx2"))) __m256i bucketsAt(__m256i bytes, __m256i low,
                                                  __m256i high) noexcept {
    const __m256i nibble = _mm256_set1_epi8(0x0F);
    const __m256i lowHalf = _mm256_and_si256(bytes, nibble);
    const __m256i highHalf = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble);
    return _mm256_and_si256(_mm256_shuffle_epi8(low, lowHalf), _mm256_shuffle_epi8(high, highHalf));
}

__attribute__((target("avx2"))) __m256i load(const char* at) noexcept {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}

} // namespace

__attribute__((target("avx2"))) Candidate nextCandidateAvx2(const MultiSearchFilter& filter,
                                                            std::string_view text,
                                                            std::size_t from) noexcept {
    const __m256i low0 = table(filter.byLowNibble[0]);
    const __m256i low1 = table(filter.byLowNibble[1]);
    const __m256i low2 = table(filter.byLowNibble[2]);
    const __m256i high0 = table(filter.byHighNibble[0]);
    const __m256i high1 = table(filter.byHighNibble[1]);
    const __m256i high2 = table(filter.byHighNibble[2]);
    const char* const data = text.data();
    for (; text.size() - from >= kBlock + kFingerprint - 1; from += kBlock) {
        const __m256i first = bucketsAt(load(data + from), low0, high0);
        const __m256i second = bucketsAt(load(data + from + 1), low1, high1);
        const __m256i third = bucketsAt(load(data + from + 2), low2, high2);
        const __m256i buckets = _mm256_and_si256(_mm256_and_si256(first, second), third);
        if (_mm256_testz_si256(buckets, buckets) != 0) {
            continue;
        }
        const __m256i none = _mm256_cmpeq_epi8(buckets, _mm256_setzero_si256());
        const auto places = ~static_cast<std::uint32_t>(_mm256_movemask_epi8(none));
        const auto place = static_cast<std::size_t>(std::countr_zero(places));
        alignas(kBlock) std::uint8_t bytes[kBlock];
        _mm256_store_si256(reinterpret_cast<__m256i*>(bytes), buckets);
        return {from + place, bytes[place]};
    }
    return nextCandidatePortable(filter, text, from);
}

} // namespace vantrel::text

#endif
