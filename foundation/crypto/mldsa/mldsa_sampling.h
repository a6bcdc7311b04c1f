// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_MLDSA_MLDSA_SAMPLING_H
#define FOUNDATION_CRYPTO_MLDSA_MLDSA_SAMPLING_H

#include "foundation/crypto/mldsa/mldsa_ring.h"
#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>

// Internal to the folder: polynomials out of seeds (FIPS 204, 7.3).
namespace vantrel::crypto::mldsa {

// One entry of the matrix, as a transform (algorithms 30 and 32). `seed` is that of the key.
void sampleEntry(Polynomial& entry, ByteView seed, std::uint8_t row, std::uint8_t column) noexcept;

// The challenge: `ones` coefficients that are 1 or -1, all others 0 (algorithm 29).
void sampleInBall(Polynomial& challenge, ByteView seed, std::size_t ones) noexcept;

} // namespace vantrel::crypto::mldsa

#endif
