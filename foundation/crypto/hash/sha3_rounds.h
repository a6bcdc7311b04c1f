// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_SHA3_ROUNDS_H
#define FOUNDATION_CRYPTO_HASH_SHA3_ROUNDS_H

#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/unroll.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

// Internal to the hash folder: the permutation of SHA-3 over lanes of any type that `Ops` computes
// with. A kernel for an extension gives the functions its own target before it includes this, for
// the compiler inlines an operation only into a function that may use it. `Ops` must then be a type
// of that file alone.
#ifndef VANTREL_SHA3_TARGET
#define VANTREL_SHA3_TARGET
#endif

namespace vantrel::crypto {

// FIPS 202, 3.2.5
inline constexpr std::uint64_t kSha3RoundConstants[24] = {
    0x0000000000000001, 0x0000000000008082, 0x800000000000808a, 0x8000000080008000,
    0x000000000000808b, 0x0000000080000001, 0x8000000080008081, 0x8000000000008009,
    0x000000000000008a, 0x0000000000000088, 0x0000000080008009, 0x000000008000000a,
    0x000000008000808b, 0x800000000000008b, 0x8000000000008089, 0x8000000000008003,
    0x8000000000008002, 0x8000000000000080, 0x000000000000800a, 0x800000008000000a,
    0x8000000080008081, 0x8000000000008080, 0x0000000080000001, 0x8000000080008008};

// FIPS 202, 3.2.2: by how much lane x + 5 * y is rotated.
inline constexpr int kSha3Rotations[25] = {0,  1,  62, 28, 27, 36, 44, 6,  55, 20, 3,  10, 43,
                                           25, 39, 41, 45, 15, 21, 8,  18, 2,  61, 56, 14};

// A lane as the machine's own word.
struct Sha3Word {
    using Lane = std::uint64_t;

    static Lane load(std::uint64_t value) noexcept { return value; }
    static std::uint64_t store(Lane lane) noexcept { return lane; }
    static Lane exclusiveOr(Lane a, Lane b) noexcept { return a ^ b; }
    // The sum of the last two is the same for all lanes of a column, and so is computed once.
    static Lane exclusiveOr(Lane a, Lane b, Lane c) noexcept { return a ^ (b ^ c); }
    static Lane chi(Lane a, Lane b, Lane c) noexcept { return a ^ (~b & c); }
    template <int kCount> static Lane rotate(Lane a) noexcept { return std::rotl(a, kCount); }
};

// unroll() of unroll.h with the target.
template <std::size_t... I, typename Step>
[[gnu::always_inline]] VANTREL_SHA3_TARGET inline void sha3UnrollSteps(
    std::index_sequence<I...> /*steps*/, const Step& step) noexcept {
    (step(std::integral_constant<std::size_t, I>{}), ...);
}
template <std::size_t N, typename Step>
[[gnu::always_inline]] VANTREL_SHA3_TARGET inline void sha3Unroll(const Step& step) noexcept {
    sha3UnrollSteps(std::make_index_sequence<N>{}, step);
}

// One round from `a` to `e` (FIPS 202, 3.2.1 to 3.2.5).
template <class Ops>
[[gnu::always_inline]] VANTREL_SHA3_TARGET inline void sha3Round(const typename Ops::Lane (&a)[25],
                                                                 typename Ops::Lane (&e)[25],
                                                                 std::uint64_t constant) noexcept {
    using Lane = typename Ops::Lane;
    Lane c[5]; // the parities of the columns
    Lane r[5]; // the same, rotated
    sha3Unroll<5>([&](auto x) VANTREL_INLINE_STEP VANTREL_SHA3_TARGET {
        c[x] = Ops::exclusiveOr(Ops::exclusiveOr(a[x], a[x + 5], a[x + 10]), a[x + 15], a[x + 20]);
        r[x] = Ops::template rotate<1>(c[x]);
    });
    sha3Unroll<5>([&](auto y) VANTREL_INLINE_STEP VANTREL_SHA3_TARGET {
        constexpr std::size_t kY = decltype(y)::value;
        Lane b[5]; // a row behind theta, rho and pi: what is to be at (x, y) comes from (x + 3y, x)
        sha3Unroll<5>([&](auto x) VANTREL_INLINE_STEP VANTREL_SHA3_TARGET {
            constexpr std::size_t kX = decltype(x)::value;
            constexpr std::size_t kColumn = (kX + 3 * kY) % 5;
            constexpr std::size_t kFrom = kColumn + 5 * kX;
            b[kX] = Ops::template rotate<kSha3Rotations[kFrom]>(
                Ops::exclusiveOr(a[kFrom], c[(kColumn + 4) % 5], r[(kColumn + 1) % 5]));
        });
        sha3Unroll<5>([&](auto x) VANTREL_INLINE_STEP VANTREL_SHA3_TARGET {
            constexpr std::size_t kX = decltype(x)::value;
            e[kX + 5 * kY] = Ops::chi(b[kX], b[(kX + 1) % 5], b[(kX + 2) % 5]);
        });
    });
    e[0] = Ops::exclusiveOr(e[0], Ops::load(constant));
}

// Adds the words kFirst to kEnd - 1 of a block.
template <class Ops, std::size_t kFirst, std::size_t kEnd>
[[gnu::always_inline]] VANTREL_SHA3_TARGET inline void sha3Add(typename Ops::Lane (&a)[25],
                                                               const std::uint8_t* data) noexcept {
    sha3Unroll<kEnd - kFirst>([&](auto i) VANTREL_INLINE_STEP VANTREL_SHA3_TARGET {
        const std::uint64_t word = loadLittleEndian<std::uint64_t>(data + 8 * (kFirst + i));
        a[kFirst + i] = Ops::exclusiveOr(a[kFirst + i], Ops::load(word));
    });
}

// Absorbs whole blocks of the state's rate (FIPS 202, 4).
template <class Ops>
[[gnu::always_inline]] VANTREL_SHA3_TARGET inline void sha3Blocks(SpongeState& state,
                                                                  const std::uint8_t* data,
                                                                  std::size_t blocks) noexcept {
    using Lane = typename Ops::Lane;
    const std::size_t rate = state.rate;
    Lane a[25];
    Lane e[25];
    sha3Unroll<25>(
        [&](auto i) VANTREL_INLINE_STEP VANTREL_SHA3_TARGET { a[i] = Ops::load(state.lanes[i]); });
    for (; blocks != 0; --blocks, data += rate) {
        // Each rate begins with the words of the smaller ones.
        sha3Add<Ops, 0, 9>(a, data);
        if (rate > 72) {
            sha3Add<Ops, 9, 13>(a, data);
        }
        if (rate > 104) {
            sha3Add<Ops, 13, 17>(a, data);
        }
        if (rate > 136) {
            sha3Add<Ops, 17, 18>(a, data);
        }
        if (rate > 144) {
            sha3Add<Ops, 18, 21>(a, data);
        }
        for (std::size_t round = 0; round < 24; round += 2) {
            sha3Round<Ops>(a, e, kSha3RoundConstants[round]);
            sha3Round<Ops>(e, a, kSha3RoundConstants[round + 1]);
        }
    }
    sha3Unroll<25>(
        [&](auto i) VANTREL_INLINE_STEP VANTREL_SHA3_TARGET { state.lanes[i] = Ops::store(a[i]); });
}

} // namespace vantrel::crypto

#endif
