// SPDX-License-Identifier: MIT
#include "foundation/x509/keys/_vlPublicKey.h"

#include "foundation/crypto/dsa/DsaKeyData.h"
#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/edwards/edwards_key.h"
#include "foundation/crypto/mldsa/mldsa_key.h"
#include "foundation/crypto/rsa/RsaKeyData.h"

namespace vantrel {

_vlPublicKey::_vlPublicKey() noexcept = default;
_vlPublicKey::~_vlPublicKey() = default;

void _vlPublicKey::clear() noexcept {
    m_rsa.reset();
    m_dsa.reset();
    m_ec.reset();
    m_edwards.reset();
    m_mlDsa.reset();
}

bool _vlPublicKey::loadRsa(ByteView modulus, ByteView exponent, std::string_view& whyNot) {
    clear();
    auto key = std::make_unique<RsaKeyData>();
    if (!key->load(modulus, exponent, whyNot)) {
        return false;
    }
    m_rsa = std::move(key);
    return true;
}

bool _vlPublicKey::loadDsa(ByteView p, ByteView q, ByteView g, ByteView y,
                           std::string_view& whyNot) {
    clear();
    auto key = std::make_unique<DsaKeyData>();
    if (!key->load(p, q, g, y, whyNot)) {
        return false;
    }
    m_dsa = std::move(key);
    return true;
}

void _vlPublicKey::takeEc(std::unique_ptr<EccVerifier> point) noexcept {
    clear();
    m_ec = std::move(point);
}

void _vlPublicKey::takeEdwards(std::unique_ptr<crypto::EdwardsKey> key) noexcept {
    clear();
    m_edwards = std::move(key);
}

void _vlPublicKey::takeMlDsa(std::unique_ptr<crypto::MlDsaKey> key) noexcept {
    clear();
    m_mlDsa = std::move(key);
}

KeyKind _vlPublicKey::kind() const noexcept {
    if (m_rsa) {
        return KeyKind::Rsa;
    }
    if (m_dsa) {
        return KeyKind::Dsa;
    }
    if (m_edwards) {
        return KeyKind::Edwards;
    }
    if (m_mlDsa) {
        return KeyKind::MlDsa;
    }
    return m_ec ? KeyKind::Ec : KeyKind::None;
}

unsigned _vlPublicKey::bits() const noexcept {
    if (m_rsa) {
        return static_cast<unsigned>(m_rsa->bits());
    }
    if (m_dsa) {
        return static_cast<unsigned>(m_dsa->bits());
    }
    if (m_edwards) {
        return static_cast<unsigned>(m_edwards->curve().fieldBits);
    }
    if (m_mlDsa) {
        return static_cast<unsigned>(m_mlDsa->encoded().size() * 8);
    }
    return m_ec ? static_cast<unsigned>(m_ec->bits()) : 0;
}

std::string_view _vlPublicKey::curveName() const noexcept {
    if (m_edwards) {
        return m_edwards->curve().name;
    }
    return m_ec && m_ec->curve() != nullptr ? m_ec->curve()->name : std::string_view();
}

} // namespace vantrel
