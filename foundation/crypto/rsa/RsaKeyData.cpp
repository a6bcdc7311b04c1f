// SPDX-License-Identifier: MIT
#include "foundation/crypto/rsa/RsaKeyData.h"

#include <algorithm>
#include <array>
#include <span>

namespace vantrel {

using crypto::Limb;

bool RsaKeyData::load(ByteView modulusBE, ByteView exponentBE, std::string_view& whyNot) noexcept {
    m_bits = 0;
    const ByteView modulus = crypto::withoutLeadingZeros(modulusBE);
    const ByteView exponent = crypto::withoutLeadingZeros(exponentBE);
    if (modulus.size() > kMaxRsaBits / 8) {
        whyNot = "The RSA modulus is too large.";
        return false;
    }
    std::array<Limb, crypto::kMaxModulusLimbs> buffer;
    const std::span<Limb> n(buffer.data(), crypto::limbsForBits(modulus.size() * 8));
    const std::size_t bits = crypto::loadBigEndian(n, modulus) ? crypto::bitLength(n) : 0;
    if (bits < kMinRsaBits) {
        whyNot = "The RSA modulus is too small.";
        return false;
    }
    if ((n[0] & 1) == 0) {
        whyNot = "The RSA modulus is even.";
        return false;
    }
    if (exponent.empty() || (exponent.back() & 1) == 0 ||
        (exponent.size() == 1 && exponent[0] < 3)) {
        whyNot = "The RSA exponent is even or below 3.";
        return false;
    }
    const std::size_t exponentLimit =
        bits > kMaxRsaBitsWithAnyExponent ? sizeof(Limb) : modulus.size();
    const bool below = exponent.size() < modulus.size() ||
                       std::lexicographical_compare(exponent.begin(), exponent.end(),
                                                    modulus.begin(), modulus.end());
    if (exponent.size() > exponentLimit || !below) {
        whyNot = "The RSA exponent is too large.";
        return false;
    }
    std::copy(modulus.begin(), modulus.end(), m_modulus.begin());
    std::copy(exponent.begin(), exponent.end(), m_exponent.begin());
    m_exponentSize = exponent.size();
    m_montgomery.set(n);
    m_bits = bits;
    return true;
}

bool RsaKeyData::recover(ByteView signature, std::span<std::uint8_t> out) const noexcept {
    if (!isLoaded() || signature.size() != sizeInBytes() || out.size() != sizeInBytes()) {
        return false;
    }
    const std::span<const Limb> n = m_montgomery.value();
    std::array<Limb, crypto::kMaxModulusLimbs> buffer;
    const std::span<Limb> x(buffer.data(), n.size());
    if (!crypto::loadBigEndian(x, signature) || !crypto::lessThan(x, n)) {
        return false;
    }
    std::array<Limb, crypto::limbsForBits(kMaxRsaBitsWithAnyExponent)> exponentBuffer;
    const std::span<Limb> e(exponentBuffer.data(), crypto::limbsForBits(m_exponentSize * 8));
    if (!crypto::loadBigEndian(e, exponent())) {
        return false;
    }
    m_montgomery.power(x, x, e);
    crypto::storeBigEndian(out, x);
    return true;
}

} // namespace vantrel
