// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/endomorphism.h"

#include <algorithm>
#include <array>
#include <span>

namespace vantrel::crypto {
namespace {

using Four = std::array<Limb, 4>;
using Two = std::array<Limb, 2>;

// A short basis (a1, b1), (a2, b2) of the lattice of all (x, y) with x + y * lambda = 0 mod n;
// b1 is negative, and b2 = a1.
constexpr Two kA1 = {0xe86c90e49284eb15, 0x3086d221a7d46bcd};
constexpr Two kMinusB1 = {0x6f547fa90abfe4c3, 0xe4437ed6010e8828};
constexpr std::array<Limb, 3> kA2 = {0x57c1108d9d44cfd8, 0x14ca50f7a8e2f3f6, 1};

// 2^384 * b2 / n and 2^384 * -b1 / n, rounded.
constexpr Four kG1 = {0xe893209a45dbb031, 0x3daa8a1471e8ca7f, 0xe86c90e49284eb15,
                      0x3086d221a7d46bcd};
constexpr Four kG2 = {0x1571b4ae8ac47f71, 0x221208ac9df506c6, 0x6f547fa90abfe4c4,
                      0xe4437ed6010e8828};

// z := z + x * y, cut to the size of z.
void addProduct(std::span<Limb> z, std::span<const Limb> x, std::span<const Limb> y) noexcept {
    for (std::size_t i = 0; i < x.size(); ++i) {
        Limb carry = 0;
        for (std::size_t j = 0; i + j < z.size(); ++j) {
            const Limb factor = j < y.size() ? y[j] : 0;
            const DoubleLimb sum = static_cast<DoubleLimb>(x[i]) * factor + z[i + j] + carry;
            z[i + j] = static_cast<Limb>(sum);
            carry = static_cast<Limb>(sum >> kLimbBits);
        }
    }
}

// k * g / 2^384, rounded.
Two scaled(const CurveNumber& k, const Four& g) noexcept {
    std::array<Limb, 8> product{};
    product[5] = Limb{1} << 63;
    addProduct(product, std::span<const Limb>(k).first(4), g);
    return {product[6], product[7]};
}

// The magnitude and sign of x, a number of four limbs in two's complement.
bool takeSign(CurveNumber& magnitude, Four x) noexcept {
    const bool negative = x[3] >> 63 != 0;
    if (negative) {
        Four zero{};
        subtract(zero, x);
        x = zero;
    }
    magnitude = {};
    std::copy(x.begin(), x.end(), magnitude.begin());
    return negative;
}

} // namespace

SplitScalar splitScalar(const CurveNumber& k) noexcept {
    // c1 * (a1, b1) + c2 * (a2, b2) is the lattice point next to (k, 0); (k1, k2) is what lies
    // between them.
    const Two c1 = scaled(k, kG1);
    const Two c2 = scaled(k, kG2);
    Four used{};
    addProduct(used, c1, kA1);
    addProduct(used, c2, kA2);
    Four k1 = {k[0], k[1], k[2], k[3]};
    subtract(k1, used);
    Four k2{};
    addProduct(k2, c1, kMinusB1);
    Four other{};
    addProduct(other, c2, kA1);
    subtract(k2, other);
    SplitScalar split;
    split.negative1 = takeSign(split.k1, k1);
    split.negative2 = takeSign(split.k2, k2);
    return split;
}

} // namespace vantrel::crypto
