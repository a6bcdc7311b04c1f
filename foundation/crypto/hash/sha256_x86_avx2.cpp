// SPDX-License-Identifier: MIT
#if defined(__x86_64__)

#include "foundation/crypto/hash/sha2_rounds.h"

#include <immintrin.h>

#define VANTREL_TARGET_AVX2 __attribute__((target("avx2,bmi,bmi2")))

namespace vantrel::crypto {

namespace {

// The message schedules of two blocks side by side, four words at a time: each row holds four
// schedule words plus their constants, those of the first block before those of the second.
constexpr std::size_t kRows = 16;
using Sha256Rows = std::uint32_t[kRows][8];

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

template <int kBy>
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline __m256i turn(__m256i x) noexcept {
    return _mm256_or_si256(_mm256_srli_epi32(x, kBy), _mm256_slli_epi32(x, 32 - kBy));
}

// Sigma1 of the words at positions 0 and 2, which stand there twice side by side: a shift of 64
// bits then turns 32.
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline __m256i sigma1OfPairs(__m256i x) noexcept {
    return _mm256_xor_si256(_mm256_srli_epi32(x, 10),
                            _mm256_xor_si256(_mm256_srli_epi64(x, 17), _mm256_srli_epi64(x, 19)));
}

// FIPS 180-4, 6.2.2, step 1, for the four words behind x0 .. x3.
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline __m256i nextRow(__m256i x0, __m256i x1,
                                                                  __m256i x2, __m256i x3) noexcept {
    const __m256i w1 = _mm256_alignr_epi8(x1, x0, 4);
    const __m256i w9 = _mm256_alignr_epi8(x3, x2, 4);
    const __m256i sigma0 =
        _mm256_xor_si256(_mm256_xor_si256(turn<7>(w1), turn<18>(w1)), _mm256_srli_epi32(w1, 3));
    __m256i w = _mm256_add_epi32(_mm256_add_epi32(x0, w9), sigma0);
    // The first two words need the last two of x3, the other two those first two. What stands in
    // the odd places is of no use.
    const __m256i evenToLow = _mm256_broadcastsi128_si256(_mm_set_epi64x(-1, 0x0b0a090803020100));
    const __m256i evenToHigh = _mm256_broadcastsi128_si256(_mm_set_epi64x(0x0b0a090803020100, -1));
    const __m256i early = sigma1OfPairs(_mm256_shuffle_epi32(x3, 0xfa));
    w = _mm256_add_epi32(w, _mm256_shuffle_epi8(early, evenToLow));
    const __m256i late = sigma1OfPairs(_mm256_shuffle_epi32(w, 0x50));
    return _mm256_add_epi32(w, _mm256_shuffle_epi8(late, evenToHigh));
}

[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline void storeRow(Sha256Rows& rows, std::size_t row,
                                                                __m256i w) noexcept {
    const __m256i k = _mm256_broadcastsi128_si256(
        _mm_load_si128(reinterpret_cast<const __m128i*>(kSha256Constants + 4 * row)));
    _mm256_store_si256(reinterpret_cast<__m256i*>(rows[row]), _mm256_add_epi32(w, k));
    // Words are loaded from there one by one; the compiler would take the vector apart.
    __asm__("" : "+m"(rows[row]));
}

// The rounds of a row; kHalf: where four rows later the variables are in their old places again.
template <std::size_t kHalf>
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline void rowRounds(std::uint32_t (&v)[8],
                                                                 std::uint32_t& ab,
                                                                 const std::uint32_t* wk) noexcept {
    unroll<4>([&](auto i) VANTREL_INLINE_STEP { sha2Round<kHalf + i>(v, ab, wk[i]); });
}

// The rounds of row `row` + kRow of the first block, and the row that is needed four rows later.
template <std::size_t kRow>
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline void rowStep(__m256i (&x)[4], Sha256Rows& rows,
                                                               std::size_t row,
                                                               std::uint32_t (&v)[8],
                                                               std::uint32_t& ab) noexcept {
    x[kRow] = nextRow(x[kRow], x[(kRow + 1) % 4], x[(kRow + 2) % 4], x[(kRow + 3) % 4]);
    storeRow(rows, row + 4 + kRow, x[kRow]);
    rowRounds<kRow % 2 * 4>(v, ab, rows[row + kRow]);
}

} // namespace

// Two blocks a turn. The rows of both are made between the rounds of the first one.
VANTREL_TARGET_AVX2 void sha256CompressX86Avx2(HashState& state, const std::uint8_t* data,
                                               std::size_t blocks) noexcept {
    alignas(32) Sha256Rows rows;
    while (blocks != 0) {
        const bool both = blocks > 1;
        const std::uint8_t* const second = both ? data + 64 : data;
        __m256i x[4];
        for (std::size_t i = 0; i < 4; ++i) {
            x[i] = loadRow(data, second, i);
            storeRow(rows, i, x[i]);
        }
        std::uint32_t v[8];
        unroll<8>([&](auto i) VANTREL_INLINE_STEP { v[i] = state.w32[i]; });
        std::uint32_t ab = v[1] ^ v[2];
        for (std::size_t row = 0; row < kRows - 4; row += 4) {
            rowStep<0>(x, rows, row, v, ab);
            rowStep<1>(x, rows, row, v, ab);
            rowStep<2>(x, rows, row, v, ab);
            rowStep<3>(x, rows, row, v, ab);
        }
        for (std::size_t row = kRows - 4; row < kRows; row += 2) {
            rowRounds<0>(v, ab, rows[row]);
            rowRounds<4>(v, ab, rows[row + 1]);
        }
        unroll<8>([&](auto i) VANTREL_INLINE_STEP { state.w32[i] += v[i]; });
        if (both) {
            unroll<8>([&](auto i) VANTREL_INLINE_STEP { v[i] = state.w32[i]; });
            ab = v[1] ^ v[2];
            for (std::size_t row = 0; row < kRows; row += 2) {
                rowRounds<0>(v, ab, rows[row] + 4);
                rowRounds<4>(v, ab, rows[row + 1] + 4);
            }
            unroll<8>([&](auto i) VANTREL_INLINE_STEP { state.w32[i] += v[i]; });
        }
        data += both ? 128 : 64;
        blocks -= both ? 2 : 1;
    }
}

} // namespace vantrel::crypto

#endif
