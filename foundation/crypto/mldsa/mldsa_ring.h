// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_MLDSA_MLDSA_RING_H
#define FOUNDATION_CRYPTO_MLDSA_MLDSA_RING_H

#include <array>
#include <cstddef>
#include <cstdint>

// Internal to the folder: polynomials with 256 coefficients over the integers modulo q, with
// X^256 = -1 (FIPS 204, 2.3), and their transforms (7.5). Every coefficient that comes in or goes
// out is below q, so that no sum can pass its word. Variable time: public data only.
namespace vantrel::crypto::mldsa {

inline constexpr std::uint32_t kQ = 8380417; // 2^23 - 2^13 + 1
inline constexpr std::size_t kDegree = 256;

using Polynomial = std::array<std::uint32_t, kDegree>;

// A sum of products of transforms, coefficient by coefficient, not reduced. At most 8 products may
// be added, for each has less than 46 bits.
using ProductSum = std::array<std::uint64_t, kDegree>;

// a := NTT(a), and a := NTT^-1(sum), where `sum` is one of products.
void transform(Polynomial& a) noexcept;
void transformBack(Polynomial& a, const ProductSum& sum) noexcept;

inline void addProduct(ProductSum& sum, const Polynomial& a, const Polynomial& b) noexcept {
    for (std::size_t i = 0; i < kDegree; ++i) {
        sum[i] += static_cast<std::uint64_t>(a[i]) * b[i];
    }
}
inline void subtractProduct(ProductSum& sum, const Polynomial& a, const Polynomial& b) noexcept {
    for (std::size_t i = 0; i < kDegree; ++i) {
        sum[i] += static_cast<std::uint64_t>(a[i]) * (kQ - b[i]);
    }
}

} // namespace vantrel::crypto::mldsa

#endif
