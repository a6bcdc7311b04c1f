// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_SHA1_ROUNDS_H
#define FOUNDATION_CRYPTO_HASH_SHA1_ROUNDS_H

#include <bit>
#include <cstddef>
#include <cstdint>

// SHA-1 in the notation of FIPS 180-4. Everything is inlined into its caller, so that the same text
// compiles to whatever instructions the caller may use.
namespace vantrel::crypto {

// FIPS 180-4, 4.2.1, one for each 20 rounds
inline constexpr std::uint32_t kSha1Constants[4] = {0x5a827999, 0x6ed9eba1, 0x8f1bbcdc, 0xca62c1d6};

// FIPS 180-4, 4.1.1: the function of round T. Where two terms have no bit in common they are added,
// which leaves the compiler free to add the early one early.
template <std::size_t T>
[[gnu::always_inline]] inline std::uint32_t sha1Mix(std::uint32_t x, std::uint32_t y,
                                                    std::uint32_t z) noexcept {
    if constexpr (T < 20) {
        return (x & y) + (~x & z);
    } else if constexpr (T >= 40 && T < 60) {
        return (x & (y ^ z)) + (y & z);
    } else {
        return x ^ y ^ z;
    }
}

// Round T of 80; `wk` is the schedule word plus the constant. a to e of the standard change places
// in v instead of being copied.
template <std::size_t T>
[[gnu::always_inline]] inline void sha1Round(std::uint32_t (&v)[5], std::uint32_t wk) noexcept {
    const std::uint32_t a = v[(80 - T) % 5];
    std::uint32_t& b = v[(81 - T) % 5];
    const std::uint32_t c = v[(82 - T) % 5];
    const std::uint32_t d = v[(83 - T) % 5];
    std::uint32_t& e = v[(84 - T) % 5];
    e += wk + sha1Mix<T>(b, c, d) + std::rotl(a, 5);
    b = std::rotl(b, 30);
}

} // namespace vantrel::crypto

#endif
