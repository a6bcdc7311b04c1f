// SPDX-License-Identifier: MIT
#include "foundation/crypto/bignum/montgomery.h"

#include "foundation/crypto/bignum/montgomery_kernels_list.h"

#include <algorithm>
#include <array>

namespace vantrel::crypto {

// The textbook form (word by word, product and reduction interleaved): the reference for the
// others.
void montgomeryMultiplyPortable(Limb* z, const Limb* x, const Limb* y, const Limb* n,
                                Limb negInverse, std::size_t size) noexcept {
    std::array<Limb, kMaxModulusLimbs + 1> buffer;
    const std::span<Limb> t(buffer.data(), size);
    const std::span<const Limb> modulus(n, size);
    std::fill(t.begin(), t.end(), 0);
    Limb top = 0; // t and top together stay below 2n

    for (std::size_t i = 0; i < size; ++i) {
        // t := (t + x[i] * y + q * n) / 2^64, with q chosen so that the lowest limb becomes zero
        const Limb factor = x[i];
        DoubleLimb product = static_cast<DoubleLimb>(factor) * y[0] + t[0];
        const Limb q = static_cast<Limb>(product) * negInverse;
        DoubleLimb reduced = static_cast<DoubleLimb>(q) * n[0] + static_cast<Limb>(product);
        for (std::size_t j = 1; j < size; ++j) {
            product = static_cast<DoubleLimb>(factor) * y[j] + t[j] +
                      static_cast<Limb>(product >> kLimbBits);
            reduced = static_cast<DoubleLimb>(q) * n[j] + static_cast<Limb>(product) +
                      static_cast<Limb>(reduced >> kLimbBits);
            t[j - 1] = static_cast<Limb>(reduced);
        }
        const DoubleLimb last = (product >> kLimbBits) + (reduced >> kLimbBits) + top;
        t[size - 1] = static_cast<Limb>(last);
        top = static_cast<Limb>(last >> kLimbBits);
    }
    if (top != 0 || !lessThan(t, modulus)) {
        subtract(t, modulus);
    }
    std::copy(t.begin(), t.end(), z);
}

void montgomerySquarePortable(Limb* z, const Limb* x, const Limb* n, Limb negInverse,
                              std::size_t size) noexcept {
    montgomeryMultiplyPortable(z, x, x, n, negInverse, size);
}

} // namespace vantrel::crypto
