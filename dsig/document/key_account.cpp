// SPDX-License-Identifier: MIT
#include "dsig/document/key_account.h"

#include "foundation/crypto/dsa/DsaKeyData.h"
#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/x509/keys/_vlPublicKey.h"

#include <algorithm>
#include <bit>

namespace vantrel::dsig {

namespace {

constexpr std::uint64_t kCommonModulusBits = 2048;
constexpr std::uint64_t kCommonExponentSteps = 17; // of 65537: 16 squarings, one multiplication
constexpr std::uint64_t kCommonOrderBits = 256;
constexpr std::uint64_t kCommonCurveBits = 256;

// A multiplication costs the square of the size.
std::uint64_t weigh(std::uint64_t bits, std::uint64_t steps, std::uint64_t commonBits,
                    std::uint64_t commonSteps) noexcept {
    // Rounded up: a key that is only a little larger than the common one counts 2, not 1.
    const std::uint64_t common = commonBits * commonBits * commonSteps;
    return std::max<std::uint64_t>(1, (bits * bits * steps + common - 1) / common);
}

// Squarings and multiplications of a square-and-multiply exponentiation.
std::uint64_t exponentSteps(ByteView exponent) noexcept {
    if (exponent.empty()) {
        return kCommonExponentSteps;
    }
    std::uint64_t steps = exponent.size() * 8;
    for (const std::uint8_t byte : exponent) {
        steps += static_cast<std::uint64_t>(std::popcount(byte));
    }
    // Zero bits above the highest one, that bit itself and its squaring.
    const int unused = std::countl_zero(exponent.front());
    return std::max(kCommonExponentSteps, steps - static_cast<std::uint64_t>(unused) - 2);
}

} // namespace

std::uint64_t keyOperationWeight(const _vlPublicKey& key) noexcept {
    switch (key.kind()) {
    case KeyKind::Rsa:
        return weigh(key.bits(), exponentSteps(key.getRsaKeyPtr()->exponent()), kCommonModulusBits,
                     kCommonExponentSteps);
    case KeyKind::Dsa:
        return weigh(key.bits(), key.getDsaKeyPtr()->orderBits(), kCommonModulusBits,
                     kCommonOrderBits);
    // The number of steps grows with the size as well, but the square is close enough to bound the
    // work, and curves come in few sizes.
    case KeyKind::Ec:
    case KeyKind::Edwards: return weigh(key.bits(), 1, kCommonCurveBits, 1);
    // About as much as a check on the common curve.
    case KeyKind::MlDsa:
    case KeyKind::None: break;
    }
    return 1;
}

bool KeyAccount::charge(std::uint64_t weight, std::uint64_t limit) noexcept {
    // Compared without a sum, which could wrap. The limit may be lower than it was at the last
    // charge, hence the comparison with what is spent.
    if (spent() > limit || weight > limit - spent()) {
        return false;
    }
    m_spent.add(weight);
    ++m_operations;
    return true;
}

} // namespace vantrel::dsig
