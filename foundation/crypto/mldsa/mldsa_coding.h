// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_MLDSA_MLDSA_CODING_H
#define FOUNDATION_CRYPTO_MLDSA_MLDSA_CODING_H

#include "foundation/crypto/mldsa/mldsa_ring.h"
#include "foundation/text/byte_view.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <span>

// Internal to the folder: how keys and signatures hold polynomials (FIPS 204, 7.1 and 7.4).
namespace vantrel::crypto::mldsa {

// The bytes of a polynomial with coefficients of `bits` bits.
constexpr std::size_t packedSize(std::size_t bits) noexcept { return kDegree * bits / 8; }

// Coefficients of `bits` bits each, the lowest bit first (algorithms 16 and 18). The bytes have
// packedSize(bits); `bits` is below 25.
void unpackBits(Polynomial& a, ByteView bytes, std::size_t bits) noexcept;
void packBits(std::span<std::uint8_t> bytes, const Polynomial& a, std::size_t bits) noexcept;

using Hints = std::bitset<kDegree>;

// One set of places a row (algorithm 21). `bytes` are the places of all rows, at most `most`, with
// the end of each row behind them. False for what is not the one way to write them.
[[nodiscard]] bool unpackHints(std::span<Hints> rows, ByteView bytes, std::size_t most) noexcept;

// The high part of a coefficient, corrected where `hint` says so (algorithm 40). `range` is
// 2 * gamma2, which divides q - 1.
[[nodiscard]] std::uint32_t useHint(bool hint, std::uint32_t coefficient,
                                    std::uint32_t range) noexcept;

} // namespace vantrel::crypto::mldsa

#endif
