// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_KEYS_VLPUBLICKEY_H
#define FOUNDATION_X509_KEYS_VLPUBLICKEY_H

#include "foundation/text/byte_view.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace vantrel {

class DsaKeyData;
class EccVerifier;
class RsaKeyData;

namespace crypto {
class EdwardsKey;
class MlDsaKey;
} // namespace crypto

// The kinds of public key; the numbers are those of the signature-method mapping.
enum class KeyKind : std::uint8_t { None = 0, Rsa = 1, Dsa = 2, Ec = 3, Edwards = 5, MlDsa = 6 };

// Holds exactly one public key of one kind, or none. Every load replaces the key that was held; a
// load that fails leaves none and puts a short reason, a text of static lifetime, into `whyNot`.
// All numbers are big-endian magnitudes; leading zero bytes are ignored.
class _vlPublicKey final {
public:
    _vlPublicKey() noexcept;
    _vlPublicKey(const _vlPublicKey&) = delete;
    _vlPublicKey& operator=(const _vlPublicKey&) = delete;
    ~_vlPublicKey();

    [[nodiscard]] bool loadRsa(ByteView modulus, ByteView exponent, std::string_view& whyNot);
    [[nodiscard]] bool loadDsa(ByteView p, ByteView q, ByteView g, ByteView y,
                               std::string_view& whyNot);
    // Takes over a point that its curve has accepted.
    void takeEc(std::unique_ptr<EccVerifier> point) noexcept;
    // Takes over a key of EdDSA.
    void takeEdwards(std::unique_ptr<crypto::EdwardsKey> key) noexcept;
    // Takes over a key of ML-DSA.
    void takeMlDsa(std::unique_ptr<crypto::MlDsaKey> key) noexcept;
    void clear() noexcept;

    // The key when it is of that kind, else null. The holder keeps it.
    [[nodiscard]] RsaKeyData* getRsaKeyPtr() const noexcept { return m_rsa.get(); }
    [[nodiscard]] DsaKeyData* getDsaKeyPtr() const noexcept { return m_dsa.get(); }
    [[nodiscard]] EccVerifier* getEccKeyPtr() const noexcept { return m_ec.get(); }
    [[nodiscard]] crypto::EdwardsKey* getEdwardsKeyPtr() const noexcept { return m_edwards.get(); }
    [[nodiscard]] crypto::MlDsaKey* getMlDsaKeyPtr() const noexcept { return m_mlDsa.get(); }

    [[nodiscard]] KeyKind kind() const noexcept;
    // Size of the RSA modulus, of the DSA prime p, of the curve's field, or of the whole key of
    // ML-DSA; 0 without a key.
    [[nodiscard]] unsigned bits() const noexcept;
    // "P-256", "secp256k1", "Ed25519", ...; empty unless the key is a point of a curve.
    [[nodiscard]] std::string_view curveName() const noexcept;

private:
    std::unique_ptr<RsaKeyData> m_rsa;
    std::unique_ptr<DsaKeyData> m_dsa;
    std::unique_ptr<EccVerifier> m_ec;
    std::unique_ptr<crypto::EdwardsKey> m_edwards;
    std::unique_ptr<crypto::MlDsaKey> m_mlDsa;
};

} // namespace vantrel

#endif
