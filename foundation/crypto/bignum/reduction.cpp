// SPDX-License-Identifier: MIT
#include "foundation/crypto/bignum/reduction.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>

namespace vantrel::crypto {

namespace {

using Number = std::array<Limb, kMaxReductionLimbs>;

// x := x * 2^64 + next mod n, for x below n, whose highest bit is set (Knuth, The Art of Computer
// Programming 2, 4.3.1, D3 to D6).
void appendLimb(std::span<Limb> x, Limb next, std::span<const Limb> n) noexcept {
    const Limb top = x.back();
    std::copy_backward(x.begin(), x.end() - 1, x.end());
    x[0] = next;
    // The quotient's digit is at most two below this one.
    const DoubleLimb head = static_cast<DoubleLimb>(top) << kLimbBits | x.back();
    const DoubleLimb guess = head / n.back();
    const Limb digit = guess >> kLimbBits != 0 ? ~Limb{0} : static_cast<Limb>(guess);
    // x - digit * n, with what is below zero in `missing`.
    Limb carried = 0;
    Limb borrow = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const DoubleLimb product = static_cast<DoubleLimb>(digit) * n[i] + carried;
        carried = static_cast<Limb>(product >> kLimbBits);
        const DoubleLimb difference =
            static_cast<DoubleLimb>(x[i]) - static_cast<Limb>(product) - borrow;
        x[i] = static_cast<Limb>(difference);
        borrow = static_cast<Limb>(difference >> kLimbBits) & 1;
    }
    Limb missing = carried + borrow - top;
    while (missing != 0) {
        missing -= add(x, n);
    }
}

} // namespace

void reduceModulo(std::span<Limb> z, std::span<const Limb> x, std::span<const Limb> n) noexcept {
    assert(!n.empty() && n.size() <= kMaxReductionLimbs && n.back() != 0);
    // With the highest bit of the divisor set the guesses are good; the rest is taken off after.
    const int shift = std::countl_zero(n.back());
    Number buffer{};
    const std::span<Limb> divisor = std::span(buffer).first(n.size());
    std::copy(n.begin(), n.end(), divisor.begin());
    for (int i = 0; i < shift; ++i) {
        shiftLeftOne(divisor);
    }
    std::fill(z.begin(), z.end(), 0);
    for (std::size_t i = x.size(); i-- > 0;) {
        appendLimb(z, x[i], divisor);
    }
    for (int i = 0; i <= shift; ++i) {
        if (!lessThan(z, divisor)) {
            subtract(z, divisor);
        }
        for (std::size_t j = 0; j < divisor.size(); ++j) {
            const Limb above = j + 1 < divisor.size() ? divisor[j + 1] : 0;
            divisor[j] = divisor[j] >> 1 | above << (kLimbBits - 1);
        }
    }
}

bool loadLittleEndian(std::span<Limb> z, ByteView bytes) noexcept {
    std::fill(z.begin(), z.end(), 0);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i / 8 < z.size()) {
            z[i / 8] |= static_cast<Limb>(bytes[i]) << (i % 8 * 8);
        } else if (bytes[i] != 0) {
            return false;
        }
    }
    return true;
}

} // namespace vantrel::crypto
