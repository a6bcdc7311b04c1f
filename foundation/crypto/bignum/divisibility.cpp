// SPDX-License-Identifier: MIT
#include "foundation/crypto/bignum/divisibility.h"

#include <algorithm>
#include <array>
#include <cassert>

namespace vantrel::crypto {

bool isMultipleOf(std::span<const Limb> x, std::span<const Limb> n) noexcept {
    // Multiples of n clear x from its lowest limb upwards; what is left above is x / 2^(64 k)
    // modulo n, at most n.
    std::array<Limb, kMaxDividendLimbs + kMaxDivisorLimbs> buffer{};
    assert(x.size() <= kMaxDividendLimbs && n.size() <= kMaxDivisorLimbs);
    std::copy(x.begin(), x.end(), buffer.begin());
    const std::span<Limb> t = std::span(buffer).first(x.size() + n.size());
    const Limb inverse = negInverse(n[0]);
    for (std::size_t i = 0; i < x.size(); ++i) {
        Limb carry = addScaled(t.subspan(i, n.size()), t[i] * inverse, n);
        for (std::size_t j = i + n.size(); carry != 0 && j < t.size(); ++j) {
            t[j] += carry;
            carry = static_cast<Limb>(t[j] < carry);
        }
    }
    const std::span<const Limb> rest = t.last(n.size());
    return isZero(rest) || equal(rest, n);
}

} // namespace vantrel::crypto
