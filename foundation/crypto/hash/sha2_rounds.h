// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_SHA2_ROUNDS_H
#define FOUNDATION_CRYPTO_HASH_SHA2_ROUNDS_H

#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/sha2_tables.h"
#include "foundation/crypto/hash/unroll.h"

#include <bit>
#include <cstddef>
#include <cstdint>

// SHA-2 in the notation of FIPS 180-4, for words of 32 and of 64 bits. Everything is inlined into
// its caller, so that the same text compiles to whatever instructions the caller may use.
namespace vantrel::crypto {

template <typename Word> struct Sha2;

// FIPS 180-4, 4.1.2
template <> struct Sha2<std::uint32_t> {
    static constexpr std::size_t kRounds = 64;
    static constexpr const std::uint32_t* kConstants = kSha256Constants;
    static constexpr int kBigSigma0[3] = {2, 13, 22};
    static constexpr int kBigSigma1[3] = {6, 11, 25};
    static constexpr int kSmallSigma0[3] = {7, 18, 3}; // the last is a shift
    static constexpr int kSmallSigma1[3] = {17, 19, 10};
};

// FIPS 180-4, 4.1.3
template <> struct Sha2<std::uint64_t> {
    static constexpr std::size_t kRounds = 80;
    static constexpr const std::uint64_t* kConstants = kSha512Constants;
    static constexpr int kBigSigma0[3] = {28, 34, 39};
    static constexpr int kBigSigma1[3] = {14, 18, 41};
    static constexpr int kSmallSigma0[3] = {1, 8, 7};
    static constexpr int kSmallSigma1[3] = {19, 61, 6};
};

template <typename Word>
[[gnu::always_inline]] inline Word bigSigma(Word x, const int (&by)[3]) noexcept {
    return std::rotr(x, by[0]) ^ std::rotr(x, by[1]) ^ std::rotr(x, by[2]);
}

template <typename Word>
[[gnu::always_inline]] inline Word smallSigma(Word x, const int (&by)[3]) noexcept {
    return std::rotr(x, by[0]) ^ std::rotr(x, by[1]) ^ (x >> by[2]);
}

// Round number I of a cycle of eight, after which every variable is in its old place again: a to h
// of the standard are v[(0 - I) mod 8] to v[(7 - I) mod 8]. `wk` is the schedule word plus the
// constant. The two halves of Ch have no bit in common, so they may be added; `ab` hands a ^ b on
// to the next round, where it is b ^ c.
template <std::size_t I, typename Word>
[[gnu::always_inline]] inline void sha2Round(Word (&v)[8], Word& ab, Word wk) noexcept {
    const Word a = v[(8 - I) % 8];
    const Word b = v[(9 - I) % 8];
    const Word e = v[(12 - I) % 8];
    const Word f = v[(13 - I) % 8];
    const Word g = v[(14 - I) % 8];
    Word& d = v[(11 - I) % 8];
    Word& h = v[(15 - I) % 8];

    h += wk + (e & f) + (~e & g) + bigSigma(e, Sha2<Word>::kBigSigma1);
    d += h;
    const Word bc = ab;
    ab = a ^ b;
    h += bigSigma(a, Sha2<Word>::kBigSigma0) + (b ^ (ab & bc)); // Maj(a, b, c)
}

// FIPS 180-4, 6.2.2 and 6.4.2. The schedule is a ring of 16 words.
template <typename Word>
[[gnu::always_inline]] inline void sha2Blocks(Word (&state)[8], const std::uint8_t* data,
                                              std::size_t blocks) noexcept {
    using S = Sha2<Word>;
    for (; blocks != 0; --blocks, data += 16 * sizeof(Word)) {
        Word w[16];
        Word v[8];
        unroll<8>([&](auto i) VANTREL_INLINE_STEP { v[i] = state[i]; });
        Word ab = v[1] ^ v[2];

        unroll<16>([&](auto i) VANTREL_INLINE_STEP {
            w[i] = loadBigEndian<Word>(data + i * sizeof(Word));
            sha2Round<i % 8>(v, ab, w[i] + S::kConstants[i]);
        });
        for (std::size_t t = 16; t < S::kRounds; t += 16) {
            unroll<16>([&](auto i) VANTREL_INLINE_STEP {
                w[i] += smallSigma(w[(i + 1) % 16], S::kSmallSigma0) + w[(i + 9) % 16] +
                        smallSigma(w[(i + 14) % 16], S::kSmallSigma1);
                sha2Round<i % 8>(v, ab, w[i] + S::kConstants[t + i]);
            });
        }
        unroll<8>([&](auto i) VANTREL_INLINE_STEP { state[i] += v[i]; });
    }
}

} // namespace vantrel::crypto

#endif
