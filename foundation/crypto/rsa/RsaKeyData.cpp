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

bool RsaKeyData::toNumber(ByteView signature, std::span<Limb> x) const noexcept {
    return isLoaded() && signature.size() == sizeInBytes() && crypto::loadBigEndian(x, signature) &&
           crypto::lessThan(x, m_montgomery.value());
}

std::span<const Limb> RsaKeyData::exponentIn(Exponent& limbs) const noexcept {
    const std::span<Limb> e(limbs.data(), crypto::limbsForBits(m_exponentSize * 8));
    static_cast<void>(crypto::loadBigEndian(e, exponent())); // it fits
    return e;
}

bool RsaKeyData::recover(ByteView signature, std::span<std::uint8_t> out) const noexcept {
    std::array<Limb, crypto::kMaxModulusLimbs> buffer;
    const std::span<Limb> x(buffer.data(), m_montgomery.value().size());
    if (out.size() != sizeInBytes() || !toNumber(signature, x)) {
        return false;
    }
    Exponent exponentBuffer;
    m_montgomery.power(x, x, exponentIn(exponentBuffer));
    crypto::storeBigEndian(out, x);
    return true;
}

// A value that is none of this key's takes its place with a zero.
RsaKeyData::Recovered RsaKeyData::recoverEach(std::span<const ByteView> signatures,
                                              std::span<std::uint8_t> out) const noexcept {
    Recovered recovered;
    const std::size_t limbs = m_montgomery.value().size();
    if (signatures.size() > kRsaValuesAtOnce || out.size() != signatures.size() * sizeInBytes()) {
        return recovered;
    }
    std::array<Limb, kRsaValuesAtOnce * crypto::kMaxModulusLimbs> buffer;
    const std::span<Limb> numbers(buffer.data(), signatures.size() * limbs);
    for (std::size_t i = 0; i < signatures.size(); ++i) {
        const std::span<Limb> x = numbers.subspan(i * limbs, limbs);
        recovered[i] = toNumber(signatures[i], x);
        if (!recovered[i]) {
            std::fill(x.begin(), x.end(), 0);
        }
    }
    if (recovered.none()) {
        return recovered;
    }
    Exponent exponentBuffer;
    m_montgomery.powerOfEach(numbers, numbers, exponentIn(exponentBuffer));
    for (std::size_t i = 0; i < signatures.size(); ++i) {
        crypto::storeBigEndian(out.subspan(i * sizeInBytes(), sizeInBytes()),
                               numbers.subspan(i * limbs, limbs));
    }
    return recovered;
}

} // namespace vantrel
