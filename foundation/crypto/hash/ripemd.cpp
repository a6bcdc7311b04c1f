// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/unroll.h"

// RIPEMD-128 and RIPEMD-160 (ISO/IEC 10118-3): two independent lines of rounds over the same block,
// joined at its end. Their steps are written in turn, so that the processor works on both at once.
namespace vantrel::crypto {

namespace {

// The message words and the rotations of the left and the right line, 16 steps a round.
constexpr std::uint8_t kLeftWords[80] = {
    0, 1,  2,  3,  4,  5,  6,  7,  8,  9, 10, 11, 12, 13, 14, 15, //
    7, 4,  13, 1,  10, 6,  15, 3,  12, 0, 9,  5,  2,  14, 11, 8,  //
    3, 10, 14, 4,  9,  15, 8,  1,  2,  7, 0,  6,  13, 11, 5,  12, //
    1, 9,  11, 10, 0,  8,  12, 4,  13, 3, 7,  15, 14, 5,  6,  2,  //
    4, 0,  5,  9,  7,  12, 2,  10, 14, 1, 3,  8,  11, 6,  15, 13,
};
constexpr std::uint8_t kRightWords[80] = {
    5,  14, 7,  0, 9, 2,  11, 4,  13, 6,  15, 8,  1,  10, 3,  12, //
    6,  11, 3,  7, 0, 13, 5,  10, 14, 15, 8,  12, 4,  9,  1,  2,  //
    15, 5,  1,  3, 7, 14, 6,  9,  11, 8,  12, 2,  10, 0,  4,  13, //
    8,  6,  4,  1, 3, 11, 15, 0,  5,  12, 2,  13, 9,  7,  10, 14, //
    12, 15, 10, 4, 1, 5,  8,  7,  6,  2,  13, 14, 0,  3,  9,  11,
};
constexpr std::uint8_t kLeftShifts[80] = {
    11, 14, 15, 12, 5,  8,  7,  9,  11, 13, 14, 15, 6,  7,  9,  8,  //
    7,  6,  8,  13, 11, 9,  7,  15, 7,  12, 15, 9,  11, 7,  13, 12, //
    11, 13, 6,  7,  14, 9,  13, 15, 14, 8,  13, 6,  5,  12, 7,  5,  //
    11, 12, 14, 15, 14, 15, 9,  8,  9,  14, 5,  6,  8,  6,  5,  12, //
    9,  15, 5,  11, 6,  8,  13, 12, 5,  12, 13, 14, 11, 8,  5,  6,
};
constexpr std::uint8_t kRightShifts[80] = {
    8,  9,  9,  11, 13, 15, 15, 5,  7,  7,  8,  11, 14, 14, 12, 6,  //
    9,  13, 15, 7,  12, 8,  9,  11, 7,  7,  12, 7,  6,  15, 13, 11, //
    9,  7,  15, 11, 8,  6,  6,  14, 12, 13, 5,  14, 13, 13, 7,  5,  //
    15, 5,  8,  11, 14, 14, 6,  14, 6,  9,  12, 9,  12, 5,  15, 8,  //
    8,  5,  12, 9,  12, 5,  14, 6,  8,  13, 6,  5,  15, 13, 11, 11,
};
constexpr std::uint32_t kLeftConstants[5] = {0, 0x5a827999, 0x6ed9eba1, 0x8f1bbcdc, 0xa953fd4e};
constexpr std::uint32_t kRightConstants160[5] = {0x50a28be6, 0x5c4dd124, 0x6d703ef3, 0x7a6d76e9, 0};
constexpr std::uint32_t kRightConstants128[4] = {0x50a28be6, 0x5c4dd124, 0x6d703ef3, 0};

// base plus the round function number F. y and z are known before x, the result of the step
// before; where two terms have no bit in common they are added, the early one first.
template <std::size_t F>
[[gnu::always_inline]] inline std::uint32_t plusMix(std::uint32_t base, std::uint32_t x,
                                                    std::uint32_t y, std::uint32_t z) noexcept {
    if constexpr (F == 0) {
        return base + ((y ^ z) ^ x);
    } else if constexpr (F == 1) {
        return base + (((y ^ z) & x) ^ z);
    } else if constexpr (F == 2) {
        return base + ((x | ~y) ^ z);
    } else if constexpr (F == 3) {
        return base + (y & ~z) + (x & z);
    } else {
        return base + ((y | ~z) ^ x);
    }
}

// A := ((A + f(B, C, D) + X + K) <<< s) + E, C := C <<< 10
template <std::size_t I, std::size_t F>
[[gnu::always_inline]] inline void step160(std::uint32_t (&v)[5], std::uint32_t wordAndConstant,
                                           int shift) noexcept {
    std::uint32_t& a = v[(80 - I) % 5];
    const std::uint32_t b = v[(81 - I) % 5];
    std::uint32_t& c = v[(82 - I) % 5];
    const std::uint32_t d = v[(83 - I) % 5];
    const std::uint32_t e = v[(84 - I) % 5];
    a += wordAndConstant;
    __asm__("" : "+r"(a)); // keeps the early sum early
    a = std::rotl(plusMix<F>(a, b, c, d), shift) + e;
    c = std::rotl(c, 10);
}

// A := (A + f(B, C, D) + X + K) <<< s
template <std::size_t I, std::size_t F>
[[gnu::always_inline]] inline void step128(std::uint32_t (&v)[4], std::uint32_t wordAndConstant,
                                           int shift) noexcept {
    std::uint32_t& a = v[(64 - I) % 4];
    const std::uint32_t b = v[(65 - I) % 4];
    const std::uint32_t c = v[(66 - I) % 4];
    const std::uint32_t d = v[(67 - I) % 4];
    a += wordAndConstant;
    __asm__("" : "+r"(a)); // keeps the early sum early
    a = std::rotl(plusMix<F>(a, b, c, d), shift);
}

} // namespace

void ripemd160Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept {
    std::uint32_t(&h)[8] = state.w32;
    for (; blocks != 0; --blocks, data += 64) {
        std::uint32_t left[5] = {h[0], h[1], h[2], h[3], h[4]};
        std::uint32_t right[5] = {h[0], h[1], h[2], h[3], h[4]};
        const auto word = [data](std::size_t index) VANTREL_INLINE_STEP {
            return loadLittleEndian<std::uint32_t>(data + index * 4);
        };
        unroll<80>([&](auto i) VANTREL_INLINE_STEP {
            constexpr std::size_t kRound = i / 16;
            step160<i, kRound>(left, word(kLeftWords[i]) + kLeftConstants[kRound], kLeftShifts[i]);
            step160<i, 4 - kRound>(right, word(kRightWords[i]) + kRightConstants160[kRound],
                                   kRightShifts[i]);
        });
        const std::uint32_t first = h[1] + left[2] + right[3];
        h[1] = h[2] + left[3] + right[4];
        h[2] = h[3] + left[4] + right[0];
        h[3] = h[4] + left[0] + right[1];
        h[4] = h[0] + left[1] + right[2];
        h[0] = first;
    }
}

void ripemd128Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept {
    std::uint32_t(&h)[8] = state.w32;
    for (; blocks != 0; --blocks, data += 64) {
        std::uint32_t left[4] = {h[0], h[1], h[2], h[3]};
        std::uint32_t right[4] = {h[0], h[1], h[2], h[3]};
        const auto word = [data](std::size_t index) VANTREL_INLINE_STEP {
            return loadLittleEndian<std::uint32_t>(data + index * 4);
        };
        unroll<64>([&](auto i) VANTREL_INLINE_STEP {
            constexpr std::size_t kRound = i / 16;
            step128<i, kRound>(left, word(kLeftWords[i]) + kLeftConstants[kRound], kLeftShifts[i]);
            step128<i, 3 - kRound>(right, word(kRightWords[i]) + kRightConstants128[kRound],
                                   kRightShifts[i]);
        });
        const std::uint32_t first = h[1] + left[2] + right[3];
        h[1] = h[2] + left[3] + right[0];
        h[2] = h[3] + left[0] + right[1];
        h[3] = h[0] + left[1] + right[2];
        h[0] = first;
    }
}

} // namespace vantrel::crypto
