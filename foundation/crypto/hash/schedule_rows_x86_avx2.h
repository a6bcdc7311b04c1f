// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_SCHEDULE_ROWS_X86_AVX2_H
#define FOUNDATION_CRYPTO_HASH_SCHEDULE_ROWS_X86_AVX2_H

#include <cstddef>
#include <cstdint>

#include <immintrin.h>

#define VANTREL_TARGET_AVX2 __attribute__((target("avx2,bmi,bmi2")))

// The message schedules of two blocks side by side, four words at a time: each row holds four
// schedule words plus their constants, those of the first block before those of the second.
namespace vantrel::crypto {

template <std::size_t Rows> using ScheduleRows = std::uint32_t[Rows][8];

template <int kBy>
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline __m256i turnLeft(__m256i x) noexcept {
    return _mm256_or_si256(_mm256_slli_epi32(x, kBy), _mm256_srli_epi32(x, 32 - kBy));
}

// Row 0 to 3, which are the blocks themselves.
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline __m256i loadRow(const std::uint8_t* first,
                                                                  const std::uint8_t* second,
                                                                  std::size_t row) noexcept {
    const __m256i order =
        _mm256_broadcastsi128_si256(_mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203));
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first + 16 * row));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(second + 16 * row));
    return _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1),
                               order);
}

[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline void storeRow(std::uint32_t (&row)[8],
                                                                __m256i words,
                                                                __m256i constants) noexcept {
    _mm256_store_si256(reinterpret_cast<__m256i*>(row), _mm256_add_epi32(words, constants));
    // Words are loaded from there one by one; the compiler would take the vector apart.
    __asm__("" : "+m"(row));
}

} // namespace vantrel::crypto

#endif
