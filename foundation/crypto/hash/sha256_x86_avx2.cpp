// SPDX-License-Identifier: MIT
#if defined(__x86_64__)

#include "foundation/crypto/hash/schedule_rows_x86_avx2.h"
#include "foundation/crypto/hash/sha2_rounds.h"

namespace vantrel::crypto {

namespace {

constexpr std::size_t kSha256Rows = 16;
using Sha256Rows = ScheduleRows<kSha256Rows>;

// Sigma1 of the words at positions 0 and 2, which stand there twice side by side: a shift of 64
// bits then turns 32.
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline __m256i sigma1OfPairs(__m256i x) noexcept {
    return _mm256_xor_si256(_mm256_srli_epi32(x, 10),
                            _mm256_xor_si256(_mm256_srli_epi64(x, 17), _mm256_srli_epi64(x, 19)));
}

// FIPS 180-4, 6.2.2, step 1, for the four words behind x0 .. x3. To the right by 7 and 18 is to the
// left by 25 and 14.
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline __m256i nextRow(__m256i x0, __m256i x1,
                                                                  __m256i x2, __m256i x3) noexcept {
    const __m256i w1 = _mm256_alignr_epi8(x1, x0, 4);
    const __m256i w9 = _mm256_alignr_epi8(x3, x2, 4);
    const __m256i sigma0 = _mm256_xor_si256(_mm256_xor_si256(turnLeft<25>(w1), turnLeft<14>(w1)),
                                            _mm256_srli_epi32(w1, 3));
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

[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline void storeSha256Row(Sha256Rows& rows,
                                                                      std::size_t row,
                                                                      __m256i w) noexcept {
    storeRow(rows[row], w,
             _mm256_broadcastsi128_si256(
                 _mm_load_si128(reinterpret_cast<const __m128i*>(kSha256Constants + 4 * row))));
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
    storeSha256Row(rows, row + 4 + kRow, x[kRow]);
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
            storeSha256Row(rows, i, x[i]);
        }
        std::uint32_t v[8];
        unroll<8>([&](auto i) VANTREL_INLINE_STEP { v[i] = state.w32[i]; });
        std::uint32_t ab = v[1] ^ v[2];
        for (std::size_t row = 0; row < kSha256Rows - 4; row += 4) {
            rowStep<0>(x, rows, row, v, ab);
            rowStep<1>(x, rows, row, v, ab);
            rowStep<2>(x, rows, row, v, ab);
            rowStep<3>(x, rows, row, v, ab);
        }
        for (std::size_t row = kSha256Rows - 4; row < kSha256Rows; row += 2) {
            rowRounds<0>(v, ab, rows[row]);
            rowRounds<4>(v, ab, rows[row + 1]);
        }
        unroll<8>([&](auto i) VANTREL_INLINE_STEP { state.w32[i] += v[i]; });
        if (both) {
            unroll<8>([&](auto i) VANTREL_INLINE_STEP { v[i] = state.w32[i]; });
            ab = v[1] ^ v[2];
            for (std::size_t row = 0; row < kSha256Rows; row += 2) {
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
