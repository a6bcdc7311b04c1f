// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_EDWARDS_FIELD_448_H
#define FOUNDATION_CRYPTO_EDWARDS_FIELD_448_H

#include "foundation/crypto/bignum/limbs.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::crypto {

// The field of Ed448, p = 2^448 - 2^224 - 1, in eight digits of 56 bits (RFC 8032, 5.2). With
// h = 2^224 is h^2 = h + 1, so that a product of halves takes three products and no more folding
// than additions. Sums and differences carry nothing; digits may grow to 2^60 before the next
// product, and a subtrahend is at most a sum of two products. Portable.
class Field448 {
public:
    static constexpr std::size_t kLimbs = 8;
    static constexpr std::size_t kBytes = 56;
    using Element = std::array<Limb, kLimbs>;

    static constexpr Element kOne = {1};

    static void add(Element& z, const Element& x, const Element& y) noexcept {
        for (std::size_t i = 0; i < kLimbs; ++i) {
            z[i] = x[i] + y[i];
        }
    }
    static void subtract(Element& z, const Element& x, const Element& y) noexcept {
        // 4 * p in front keeps every digit above zero.
        for (std::size_t i = 0; i < kLimbs; ++i) {
            z[i] = x[i] + 4 * (i == kHalf ? kMask - 1 : kMask) - y[i];
        }
    }

    static void multiply(Element& z, const Element& x, const Element& y) noexcept {
        std::array<Limb, kHalf> xSum;
        std::array<Limb, kHalf> ySum;
        for (std::size_t i = 0; i < kHalf; ++i) {
            xSum[i] = x[i] + x[i + kHalf];
            ySum[i] = y[i] + y[i + kHalf];
        }
        Product low{};
        Product high{};
        Product both{};
#pragma GCC unroll 4
        for (std::size_t i = 0; i < kHalf; ++i) {
#pragma GCC unroll 4
            for (std::size_t j = 0; j < kHalf; ++j) {
                low[i + j] += static_cast<DoubleLimb>(x[i]) * y[j];
                high[i + j] += static_cast<DoubleLimb>(x[i + kHalf]) * y[j + kHalf];
                both[i + j] += static_cast<DoubleLimb>(xSum[i]) * ySum[j];
            }
        }
        fold(z, low, high, both);
    }

    static void square(Element& z, const Element& x) noexcept {
        std::array<Limb, kHalf> xSum;
        for (std::size_t i = 0; i < kHalf; ++i) {
            xSum[i] = x[i] + x[i + kHalf];
        }
        Product low{};
        Product high{};
        Product both{};
#pragma GCC unroll 4
        for (std::size_t i = 0; i < kHalf; ++i) {
            low[2 * i] += static_cast<DoubleLimb>(x[i]) * x[i];
            high[2 * i] += static_cast<DoubleLimb>(x[i + kHalf]) * x[i + kHalf];
            both[2 * i] += static_cast<DoubleLimb>(xSum[i]) * xSum[i];
#pragma GCC unroll 4
            for (std::size_t j = i + 1; j < kHalf; ++j) {
                low[i + j] += static_cast<DoubleLimb>(2 * x[i]) * x[j];
                high[i + j] += static_cast<DoubleLimb>(2 * x[i + kHalf]) * x[j + kHalf];
                both[i + j] += static_cast<DoubleLimb>(2 * xSum[i]) * xSum[j];
            }
        }
        fold(z, low, high, both);
    }

    // False for a number that is not below p. `bytes` is little-endian, of kBytes.
    [[nodiscard]] static bool decode(Element& z, std::span<const std::uint8_t> bytes) noexcept {
        for (std::size_t i = 0; i < kLimbs; ++i) {
            z[i] = 0;
            for (std::size_t j = 0; j < 7; ++j) {
                z[i] |= static_cast<Limb>(bytes[7 * i + j]) << (8 * j);
            }
        }
        return lessThanPrime(z);
    }

    static void encode(std::span<std::uint8_t> bytes, const Element& x) noexcept {
        Element reduced = x;
        // The third leaves a digit of 2^56 only where nothing is left above it.
        for (int pass = 0; pass < 4; ++pass) {
            carryDigits(reduced);
        }
        if (!lessThanPrime(reduced)) {
            // - p is + 2^224 + 1 without what then stands above the eighth digit.
            reduced[0] += 1;
            reduced[kHalf] += 1;
            for (std::size_t i = 0; i + 1 < kLimbs; ++i) {
                reduced[i + 1] += reduced[i] >> 56;
                reduced[i] &= kMask;
            }
            reduced[kLimbs - 1] &= kMask;
        }
        for (std::size_t i = 0; i < kBytes; ++i) {
            bytes[i] = static_cast<std::uint8_t>(reduced[i / 7] >> (i % 7 * 8));
        }
    }

private:
    static constexpr std::size_t kHalf = 4;
    static constexpr Limb kMask = (Limb{1} << 56) - 1;
    using Product = std::array<DoubleLimb, 2 * kHalf - 1>;

    // (a + b h)(c + d h) = ac + bd + h ((a + b)(c + d) - ac), with ac, bd and the product of sums
    // given; what of them stands at h or h^2 comes down once more.
    static void fold(Element& z, const Product& low, const Product& high,
                     const Product& both) noexcept {
        std::array<DoubleLimb, kLimbs> sums;
#pragma GCC unroll 4
        for (std::size_t i = 0; i < kHalf; ++i) {
            sums[i] = low[i] + high[i];
            sums[i + kHalf] = both[i] - low[i];
            if (i + kHalf < low.size()) {
                const DoubleLimb above = both[i + kHalf] - low[i + kHalf];
                sums[i] += above;
                sums[i + kHalf] += low[i + kHalf] + high[i + kHalf] + above;
            }
        }
        DoubleLimb carried = 0;
#pragma GCC unroll 8
        for (std::size_t i = 0; i < kLimbs; ++i) {
            const DoubleLimb sum = sums[i] + carried;
            z[i] = static_cast<Limb>(sum) & kMask;
            carried = sum >> 56;
        }
        const DoubleLimb first = carried + z[0];
        const DoubleLimb middle = carried + z[kHalf];
        z[0] = static_cast<Limb>(first) & kMask;
        z[1] += static_cast<Limb>(first >> 56);
        z[kHalf] = static_cast<Limb>(middle) & kMask;
        z[kHalf + 1] += static_cast<Limb>(middle >> 56);
    }

    static void carryDigits(Element& x) noexcept {
        for (std::size_t i = 0; i + 1 < kLimbs; ++i) {
            x[i + 1] += x[i] >> 56;
            x[i] &= kMask;
        }
        const Limb carried = x[kLimbs - 1] >> 56;
        x[kLimbs - 1] &= kMask;
        x[0] += carried;
        x[kHalf] += carried;
    }

    // Of digits below 2^56.
    [[nodiscard]] static bool lessThanPrime(const Element& x) noexcept {
        for (std::size_t i = kLimbs; i-- > 0;) {
            const Limb digit = i == kHalf ? kMask - 1 : kMask;
            if (x[i] != digit) {
                return x[i] < digit;
            }
        }
        return false;
    }
};

} // namespace vantrel::crypto

#endif
