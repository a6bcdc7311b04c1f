// SPDX-License-Identifier: MIT
#include "foundation/crypto/mldsa/mldsa_ring.h"

namespace vantrel::crypto::mldsa {

namespace {

constexpr std::uint32_t kMinusInverse = 4236238847; // -1 / q mod 2^32
static_assert(static_cast<std::uint32_t>(kMinusInverse * kQ) == 0xffffffff);

// x / 2^32 mod q, for x below q * 2^32 (FIPS 204, appendix A).
constexpr std::uint32_t montgomery(std::uint64_t x) noexcept {
    const std::uint32_t multiple = static_cast<std::uint32_t>(x) * kMinusInverse;
    const std::uint64_t quotient = (x + static_cast<std::uint64_t>(multiple) * kQ) >> 32;
    const auto reduced = static_cast<std::uint32_t>(quotient);
    return reduced >= kQ ? reduced - kQ : reduced;
}

constexpr std::uint32_t add(std::uint32_t a, std::uint32_t b) noexcept {
    const std::uint32_t sum = a + b;
    return sum >= kQ ? sum - kQ : sum;
}
constexpr std::uint32_t subtract(std::uint32_t a, std::uint32_t b) noexcept {
    return add(a, kQ - b);
}

constexpr std::uint64_t kMontgomeryOne = (std::uint64_t{1} << 32) % kQ;

// 1753^BitRev8(m) * 2^32 mod q (FIPS 204, 7.5), so that a product with one needs one reduction.
constexpr std::array<std::uint32_t, kDegree> kZetas = [] {
    constexpr std::uint64_t kZeta = 1753;
    std::array<std::uint32_t, kDegree> zetas{};
    std::uint64_t power = kMontgomeryOne;
    for (std::size_t exponent = 0; exponent < kDegree; ++exponent) {
        std::size_t reversed = 0;
        for (std::size_t bit = 0; bit < 8; ++bit) {
            reversed |= (exponent >> bit & 1) << (7 - bit);
        }
        zetas[reversed] = static_cast<std::uint32_t>(power);
        power = power * kZeta % kQ;
    }
    return zetas;
}();

// 2^64 / 256: takes back the doublings of the way back, and both reductions, of the sum and of the
// product with this.
constexpr std::uint64_t kBackScale = kMontgomeryOne * kMontgomeryOne % kQ * 8347681 % kQ;
static_assert(std::uint64_t{8347681} * 256 % kQ == 1);

} // namespace

// FIPS 204, algorithm 41
void transform(Polynomial& a) noexcept {
    std::size_t zeta = 0;
    for (std::size_t length = kDegree / 2; length >= 1; length /= 2) {
        for (std::size_t start = 0; start < kDegree; start += 2 * length) {
            const std::uint64_t factor = kZetas[++zeta];
            for (std::size_t i = start; i < start + length; ++i) {
                const std::uint32_t product = montgomery(factor * a[i + length]);
                a[i + length] = subtract(a[i], product);
                a[i] = add(a[i], product);
            }
        }
    }
}

// Algorithm 42
void transformBack(Polynomial& a, const ProductSum& sum) noexcept {
    for (std::size_t i = 0; i < kDegree; ++i) {
        a[i] = montgomery(sum[i]);
    }
    std::size_t zeta = kDegree;
    for (std::size_t length = 1; length < kDegree; length *= 2) {
        for (std::size_t start = 0; start < kDegree; start += 2 * length) {
            const std::uint64_t factor = kQ - kZetas[--zeta];
            for (std::size_t i = start; i < start + length; ++i) {
                const std::uint32_t first = a[i];
                a[i] = add(first, a[i + length]);
                a[i + length] = montgomery(factor * subtract(first, a[i + length]));
            }
        }
    }
    for (std::uint32_t& coefficient : a) {
        coefficient = montgomery(kBackScale * coefficient);
    }
}

} // namespace vantrel::crypto::mldsa
