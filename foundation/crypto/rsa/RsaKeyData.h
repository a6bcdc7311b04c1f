// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_RSA_RSAKEYDATA_H
#define FOUNDATION_CRYPTO_RSA_RSAKEYDATA_H

#include "foundation/crypto/bignum/montgomery.h"
#include "foundation/text/byte_view.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantrel {

inline constexpr std::size_t kMinRsaBits = 512;
inline constexpr std::size_t kWeakRsaBits = 1024; // below it a key is accepted but flagged
inline constexpr std::size_t kMaxRsaBits = 16384;
// Above this modulus size the exponent is limited to 64 bits, which bounds the work of one check.
inline constexpr std::size_t kMaxRsaBitsWithAnyExponent = 3072;
inline constexpr std::size_t kRsaValuesAtOnce = crypto::kPowersAtOnce;

// One RSA public key with everything precomputed that verification needs. Fixed storage of about
// ten kilobytes. Immutable once loaded: several threads may verify with one key.
class RsaKeyData final {
public:
    RsaKeyData() noexcept {} // NOLINT(modernize-use-equals-default): the arrays stay unset

    // Takes a modulus and an exponent, big-endian, leading zero bytes allowed. Refused are: an
    // even modulus, one outside kMinRsaBits..kMaxRsaBits, an exponent that is even, below 3, not
    // below the modulus, or above 64 bits beside a modulus above kMaxRsaBitsWithAnyExponent. On
    // refusal `whyNot` is a short fixed text and the key is empty.
    [[nodiscard]] bool load(ByteView modulusBE, ByteView exponentBE,
                            std::string_view& whyNot) noexcept;

    [[nodiscard]] bool isLoaded() const noexcept { return m_bits != 0; }
    [[nodiscard]] std::size_t bits() const noexcept { return m_bits; }
    // The size of a signature: that of the modulus.
    [[nodiscard]] std::size_t sizeInBytes() const noexcept { return (m_bits + 7) / 8; }
    [[nodiscard]] bool isWeak() const noexcept { return m_bits < kWeakRsaBits; }

    // Big-endian without leading zero bytes; views into the key.
    [[nodiscard]] ByteView modulus() const noexcept { return {m_modulus.data(), sizeInBytes()}; }
    [[nodiscard]] ByteView exponent() const noexcept { return {m_exponent.data(), m_exponentSize}; }

    // out := signature^e mod n, both of exactly sizeInBytes() bytes. False when the signature has
    // another size or is not below the modulus.
    [[nodiscard]] bool recover(ByteView signature, std::span<std::uint8_t> out) const noexcept;
    // The same for several signatures, at most kRsaValuesAtOnce, together. The blocks are written
    // one behind the other, sizeInBytes() bytes each. Bit i of the result is what recover() would
    // return for signature i; where it is not set, the bytes of that block mean nothing.
    using Recovered = std::bitset<kRsaValuesAtOnce>;
    [[nodiscard]] Recovered recoverEach(std::span<const ByteView> signatures,
                                        std::span<std::uint8_t> out) const noexcept;
    // Whether that takes less time than one by one.
    [[nodiscard]] bool isFasterTogether() const noexcept {
        return isLoaded() && m_montgomery.hasFastPowerOfEach();
    }

private:
    using Exponent = std::array<crypto::Limb, crypto::limbsForBits(kMaxRsaBitsWithAnyExponent)>;

    // x := the number of a signature, false as recover(); and the limbs of the exponent.
    [[nodiscard]] bool toNumber(ByteView signature, std::span<crypto::Limb> x) const noexcept;
    [[nodiscard]] std::span<const crypto::Limb> exponentIn(Exponent& limbs) const noexcept;

    std::size_t m_bits = 0;
    std::size_t m_exponentSize = 0;
    crypto::MontgomeryModulus m_montgomery;
    std::array<std::uint8_t, kMaxRsaBits / 8> m_modulus;
    std::array<std::uint8_t, kMaxRsaBitsWithAnyExponent / 8> m_exponent;
};

} // namespace vantrel

#endif
