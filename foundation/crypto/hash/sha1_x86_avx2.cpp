// SPDX-License-Identifier: MIT
#if defined(__x86_64__)

#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/schedule_rows_x86_avx2.h"
#include "foundation/crypto/hash/sha1_rounds.h"
#include "foundation/crypto/hash/unroll.h"

#include <utility>

namespace vantrel::crypto {

namespace {

constexpr std::size_t kSha1Rows = 20;
using Sha1Rows = ScheduleRows<kSha1Rows>;

// FIPS 180-4, 6.1.2, step 1: the four words behind x0 .. x3. The last of them needs the first, so
// it is made without that one, whose share is its own value turned once more.
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline __m256i nextEarlyRow(__m256i x0, __m256i x1,
                                                                       __m256i x2,
                                                                       __m256i x3) noexcept {
    const __m256i w2 = _mm256_alignr_epi8(x1, x0, 8);
    const __m256i w13 = _mm256_srli_si256(x3, 4);
    const __m256i sum = _mm256_xor_si256(_mm256_xor_si256(x0, w2), _mm256_xor_si256(x2, w13));
    const __m256i first = _mm256_slli_si256(sum, 12);
    return _mm256_xor_si256(turnLeft<1>(sum), turnLeft<2>(first));
}

// The same from word 32 on, by the rule applied twice: w(t) is the sum of the words 6, 16, 28 and
// 32 places back, turned twice.
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline __m256i nextLateRow(__m256i w32, __m256i w28,
                                                                      __m256i w16, __m256i w8,
                                                                      __m256i w4) noexcept {
    const __m256i w6 = _mm256_alignr_epi8(w4, w8, 8);
    return turnLeft<2>(_mm256_xor_si256(_mm256_xor_si256(w32, w28), _mm256_xor_si256(w16, w6)));
}

[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline void storeSha1Row(Sha1Rows& rows, std::size_t row,
                                                                    __m256i w) noexcept {
    storeRow(rows[row], w, _mm256_set1_epi32(static_cast<int>(kSha1Constants[row / 5])));
}

// The rounds of row kRow of the first block, with the row that is needed four rows later made in
// between; row r is in x[r % 8].
template <std::size_t kRow>
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline void sha1RowStep(__m256i (&x)[8], Sha1Rows& rows,
                                                                   std::uint32_t (&v)[5]) noexcept {
    constexpr std::size_t kMade = kRow + 4;
    const auto row = [&x](std::size_t r) VANTREL_TARGET_AVX2 { return x[r % 8]; };
    if constexpr (kMade < 8) {
        x[kMade] = nextEarlyRow(row(kRow), row(kRow + 1), row(kRow + 2), row(kRow + 3));
    } else if constexpr (kMade < kSha1Rows) {
        x[kMade % 8] =
            nextLateRow(row(kMade), row(kMade + 1), row(kMade + 4), row(kMade + 6), row(kMade + 7));
    }
    if constexpr (kMade < kSha1Rows) {
        storeSha1Row(rows, kMade, row(kMade));
    }
    unroll<4>([&](auto i) VANTREL_INLINE_STEP { sha1Round<4 * kRow + i>(v, rows[kRow][i]); });
}

template <std::size_t... kRow>
[[gnu::always_inline]] VANTREL_TARGET_AVX2 inline void sha1RowSteps(
    std::index_sequence<kRow...> /*rows*/, __m256i (&x)[8], Sha1Rows& rows,
    std::uint32_t (&v)[5]) noexcept {
    (sha1RowStep<kRow>(x, rows, v), ...);
}

} // namespace

// Two blocks a turn. The rows of both are made between the rounds of the first one.
VANTREL_TARGET_AVX2 void sha1CompressX86Avx2(HashState& state, const std::uint8_t* data,
                                             std::size_t blocks) noexcept {
    alignas(32) Sha1Rows rows;
    while (blocks != 0) {
        const bool both = blocks > 1;
        const std::uint8_t* const second = both ? data + 64 : data;
        __m256i x[8];
        for (std::size_t i = 0; i < 4; ++i) {
            x[i] = loadRow(data, second, i);
            storeSha1Row(rows, i, x[i]);
        }
        std::uint32_t v[5];
        unroll<5>([&](auto i) VANTREL_INLINE_STEP { v[i] = state.w32[i]; });
        sha1RowSteps(std::make_index_sequence<kSha1Rows>{}, x, rows, v);
        unroll<5>([&](auto i) VANTREL_INLINE_STEP { state.w32[i] += v[i]; });
        if (both) {
            unroll<5>([&](auto i) VANTREL_INLINE_STEP { v[i] = state.w32[i]; });
            unroll<80>([&](auto t)
                           VANTREL_INLINE_STEP { sha1Round<t>(v, rows[t / 4][4 + t % 4]); });
            unroll<5>([&](auto i) VANTREL_INLINE_STEP { state.w32[i] += v[i]; });
        }
        data += both ? 128 : 64;
        blocks -= both ? 2 : 1;
    }
}

} // namespace vantrel::crypto

#endif
