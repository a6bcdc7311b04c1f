// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/unroll.h"

namespace vantrel::crypto {

namespace {

// FIPS 180-4, 4.1.1 and 4.2.1: the function and the constant of round T. Where two terms have no
// bit in common they are added, which leaves the compiler free to add the early one early.
template <std::size_t T>
[[gnu::always_inline]] inline std::uint32_t mix(std::uint32_t x, std::uint32_t y,
                                                std::uint32_t z) noexcept {
    if constexpr (T < 20) {
        return (x & y) + (~x & z) + 0x5a827999;
    } else if constexpr (T < 40) {
        return (x ^ y ^ z) + 0x6ed9eba1;
    } else if constexpr (T < 60) {
        return (x & (y ^ z)) + (y & z) + 0x8f1bbcdc;
    } else {
        return (x ^ y ^ z) + 0xca62c1d6;
    }
}

} // namespace

// FIPS 180-4, 6.1.2. The schedule is a ring of 16 words; a to e of the standard change places
// instead of being copied.
void sha1Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept {
    for (; blocks != 0; --blocks, data += 64) {
        std::uint32_t w[16];
        std::uint32_t v[5];
        unroll<5>([&](auto i) VANTREL_INLINE_STEP { v[i] = state.w32[i]; });

        unroll<80>([&](auto t) VANTREL_INLINE_STEP {
            std::uint32_t& word = w[t % 16];
            if constexpr (t < 16) {
                word = loadBigEndian<std::uint32_t>(data + t * 4);
            } else {
                word = std::rotl(w[(t + 13) % 16] ^ w[(t + 8) % 16] ^ w[(t + 2) % 16] ^ word, 1);
            }
            const std::uint32_t a = v[(80 - t) % 5];
            std::uint32_t& b = v[(81 - t) % 5];
            const std::uint32_t c = v[(82 - t) % 5];
            const std::uint32_t d = v[(83 - t) % 5];
            std::uint32_t& e = v[(84 - t) % 5];
            e += word + mix<t>(b, c, d) + std::rotl(a, 5);
            b = std::rotl(b, 30);
        });
        unroll<5>([&](auto i) VANTREL_INLINE_STEP { state.w32[i] += v[i]; });
    }
}

} // namespace vantrel::crypto
