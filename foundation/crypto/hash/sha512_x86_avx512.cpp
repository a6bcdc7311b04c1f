// SPDX-License-Identifier: MIT
#if defined(__x86_64__)

#include "foundation/cpu/avx512_intrinsics.h"
#include "foundation/crypto/hash/sha2_rounds.h"

#include <algorithm>
#include <utility>

#define VANTREL_TARGET_AVX512 __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl,bmi,bmi2")))

namespace vantrel::crypto {

namespace {

constexpr std::size_t kLanes = 8;

// The message schedules of up to eight blocks side by side, one row a round.
struct alignas(64) Schedules {
    std::uint64_t ring[16][kLanes]; // the last 16 rows as the standard has them
    std::uint64_t wk[80][kLanes];   // every row plus the round's constant
};

using Blocks = const std::uint8_t* [kLanes];

// Bytes `at` to `at` + 16 of the blocks first, first + 2, first + 4 and first + 6.
[[gnu::always_inline]] VANTREL_TARGET_AVX512 inline __m512i loadPairs(const Blocks& blocks,
                                                                      std::size_t first,
                                                                      std::size_t at) noexcept {
    const auto load = [&](std::size_t lane) VANTREL_TARGET_AVX512 {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(blocks[first + lane] + at));
    };
    const __m512i order = _mm512_set4_epi64(0x08090a0b0c0d0e0f, 0x0001020304050607,
                                            0x08090a0b0c0d0e0f, 0x0001020304050607);
    __m512i pairs = _mm512_castsi128_si512(load(0));
    pairs = _mm512_inserti64x2(pairs, load(2), 1);
    pairs = _mm512_inserti64x2(pairs, load(4), 2);
    pairs = _mm512_inserti64x2(pairs, load(6), 3);
    return _mm512_shuffle_epi8(pairs, order);
}

// Words 2 * pair and 2 * pair + 1 of all blocks.
[[gnu::always_inline]] VANTREL_TARGET_AVX512 inline void loadWords(const Blocks& blocks,
                                                                   std::size_t pair, __m512i& first,
                                                                   __m512i& second) noexcept {
    const __m512i even = loadPairs(blocks, 0, pair * 16);
    const __m512i odd = loadPairs(blocks, 1, pair * 16);
    first = _mm512_unpacklo_epi64(even, odd);
    second = _mm512_unpackhi_epi64(even, odd);
}

// FIPS 180-4, 6.4.2, step 1, with w0 being the word 16 places back.
[[gnu::always_inline]] VANTREL_TARGET_AVX512 inline __m512i nextWord(__m512i w0, __m512i w1,
                                                                     __m512i w9,
                                                                     __m512i w14) noexcept {
    constexpr int kXor3 = 0x96;
    const __m512i sigma0 = _mm512_ternarylogic_epi64(
        _mm512_ror_epi64(w1, 1), _mm512_ror_epi64(w1, 8), _mm512_srli_epi64(w1, 7), kXor3);
    const __m512i sigma1 = _mm512_ternarylogic_epi64(
        _mm512_ror_epi64(w14, 19), _mm512_ror_epi64(w14, 61), _mm512_srli_epi64(w14, 6), kXor3);
    return _mm512_add_epi64(_mm512_add_epi64(w0, w9), _mm512_add_epi64(sigma0, sigma1));
}

[[gnu::always_inline]] VANTREL_TARGET_AVX512 inline void putRow(Schedules& s, std::size_t t,
                                                                __m512i w) noexcept {
    const __m512i k = _mm512_set1_epi64(static_cast<long long>(kSha512Constants[t]));
    _mm512_store_si512(s.ring[t % 16], w);
    _mm512_store_si512(s.wk[t], _mm512_add_epi64(w, k));
}

// Makes row t; below 16 the rows come in pairs, with the even one.
[[gnu::always_inline]] VANTREL_TARGET_AVX512 inline void makeRow(const Blocks& blocks, Schedules& s,
                                                                 std::size_t t) noexcept {
    const auto row = [&](std::size_t r)
                         VANTREL_TARGET_AVX512 { return _mm512_load_si512(s.ring[r % 16]); };
    if (t >= 16) {
        putRow(s, t, nextWord(row(t), row(t + 1), row(t + 9), row(t + 14)));
    } else if (t % 2 == 0) {
        __m512i first;
        __m512i second;
        loadWords(blocks, t / 2, first, second);
        putRow(s, t, first);
        putRow(s, t + 1, second);
    }
}

VANTREL_TARGET_AVX512 void makeSchedules(const Blocks& blocks, Schedules& s) noexcept {
    for (std::size_t t = 0; t < 80; ++t) {
        makeRow(blocks, s, t);
    }
}

// The rounds of one block. With `Ahead`, ten rows of the next schedules are made in between, from
// row `row` on: they keep those units busy that the rounds leave idle.
template <bool Ahead>
VANTREL_TARGET_AVX512 void rounds(std::uint64_t (&state)[8], const Schedules& s, std::size_t lane,
                                  const Blocks& nextBlocks, Schedules& next,
                                  std::size_t row) noexcept {
    std::uint64_t v[8];
    unroll<8>([&](auto i) VANTREL_INLINE_STEP { v[i] = state[i]; });
    std::uint64_t ab = v[1] ^ v[2];
    for (std::size_t t = 0; t < 80; t += 8) {
        if constexpr (Ahead) {
            makeRow(nextBlocks, next, row++);
        }
        unroll<8>([&](auto i) VANTREL_INLINE_STEP { sha2Round<i>(v, ab, s.wk[t + i][lane]); });
    }
    unroll<8>([&](auto i) VANTREL_INLINE_STEP { state[i] += v[i]; });
}

// Points at the next blocks; where there are fewer than eight, the last one stands in.
std::size_t takeBlocks(const std::uint8_t*& data, std::size_t& blocks, Blocks& lanes) noexcept {
    const std::size_t count = std::min(blocks, kLanes);
    for (std::size_t i = 0; i < kLanes && count != 0; ++i) {
        lanes[i] = data + std::min(i, count - 1) * 128;
    }
    data += count * 128;
    blocks -= count;
    return count;
}

} // namespace

VANTREL_TARGET_AVX512 void sha512CompressX86Avx512(HashState& state, const std::uint8_t* data,
                                                   std::size_t blocks) noexcept {
    // Schedules take the same time for one block as for eight.
    constexpr std::size_t kWorthwhile = 4;
    if (blocks < kWorthwhile) {
        sha2Blocks(state.w64, data, blocks);
        return;
    }
    Schedules schedules[2];
    Schedules* now = &schedules[0];
    Schedules* next = &schedules[1];
    Blocks lanes;

    std::size_t count = takeBlocks(data, blocks, lanes);
    makeSchedules(lanes, *now);
    while (blocks != 0) {
        const std::size_t nextCount = takeBlocks(data, blocks, lanes);
        for (std::size_t i = 0; i < kLanes; ++i) {
            rounds<true>(state.w64, *now, i, lanes, *next, i * 10);
        }
        std::swap(now, next);
        count = nextCount;
    }
    for (std::size_t i = 0; i < count; ++i) {
        rounds<false>(state.w64, *now, i, lanes, *next, 0);
    }
}

} // namespace vantrel::crypto

#endif
