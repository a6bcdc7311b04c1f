// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/unroll.h"

namespace vantrel::crypto {

namespace {

// RFC 1321, 3.4: the integer part of 2^32 times |sin(i + 1)|.
constexpr std::uint32_t kSines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};

constexpr int kShifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

// The message word of step I.
constexpr std::size_t wordOfStep(std::size_t i) noexcept {
    constexpr std::size_t kFactor[4] = {1, 5, 3, 7};
    constexpr std::size_t kOffset[4] = {0, 1, 5, 0};
    return (i * kFactor[i / 16] + kOffset[i / 16]) % 16;
}

// One step, a := b + ((a + F(b, c, d) + X[k] + T[i]) <<< s). What does not wait for the previous
// step's result, b, is summed first, which the empty assembly keeps the compiler from undoing; the
// two halves of G have no bit in common and may be added.
template <std::size_t I>
[[gnu::always_inline]] inline void step(std::uint32_t (&v)[4], std::uint32_t word) noexcept {
    std::uint32_t& a = v[(64 - I) % 4];
    const std::uint32_t b = v[(65 - I) % 4];
    const std::uint32_t c = v[(66 - I) % 4];
    const std::uint32_t d = v[(67 - I) % 4];

    a += word + kSines[I];
    __asm__("" : "+r"(a));
    if constexpr (I < 16) {
        a += ((c ^ d) & b) ^ d;
    } else if constexpr (I < 32) {
        a += c & ~d;
        __asm__("" : "+r"(a));
        a += b & d;
    } else if constexpr (I < 48) {
        a += (c ^ d) ^ b;
    } else {
        a += (~d | b) ^ c;
    }
    a = b + std::rotl(a, kShifts[I / 16][I % 4]);
}

} // namespace

void md5Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept {
    std::uint32_t total[4];
    std::memcpy(total, state.w32, sizeof total);
    for (; blocks != 0; --blocks, data += 64) {
        std::uint32_t v[4] = {total[0], total[1], total[2], total[3]};
        unroll<64>([&](auto i) VANTREL_INLINE_STEP {
            step<i>(v, loadLittleEndian<std::uint32_t>(data + wordOfStep(i) * 4));
        });
        unroll<4>([&](auto i) VANTREL_INLINE_STEP { total[i] += v[i]; });
    }
    std::memcpy(state.w32, total, sizeof total);
}

} // namespace vantrel::crypto
