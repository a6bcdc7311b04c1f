// SPDX-License-Identifier: MIT
#include "dsig/keys/known_to_caller.h"

#include "foundation/crypto/dsa/DsaKeyData.h"
#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/edwards/edwards_key.h"
#include "foundation/crypto/mldsa/mldsa_key.h"
#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/_vlPublicKey.h"
#include "foundation/x509/keys/key_der.h"

#include <algorithm>
#include <string_view>

namespace vantrel::dsig {

namespace {

// Leading zeros were left out when the keys were loaded. Keys are public: nothing here has to take
// constant time.
bool equal(ByteView one, ByteView other) noexcept {
    return std::equal(one.begin(), one.end(), other.begin(), other.end());
}

bool equal(const RsaKeyData& one, const RsaKeyData& other) noexcept {
    return equal(one.modulus(), other.modulus()) && equal(one.exponent(), other.exponent());
}

// The parameters belong to the key: the same y in another group is another key.
bool equal(const DsaKeyData& one, const DsaKeyData& other) noexcept {
    return equal(one.p(), other.p()) && equal(one.q(), other.q()) && equal(one.g(), other.g()) &&
           equal(one.y(), other.y());
}

// Points are in uncompressed encoding, however the keys wrote them.
bool equal(const EccVerifier& one, const EccVerifier& other) noexcept {
    return one.curve() == other.curve() && equal(one.point(), other.point());
}

// A point has one encoding.
bool equal(const crypto::EdwardsKey& one, const crypto::EdwardsKey& other) noexcept {
    return &one.curve() == &other.curve() && equal(one.encoded(), other.encoded());
}

// The sets of parameters differ in the size of their keys.
bool equal(const crypto::MlDsaKey& one, const crypto::MlDsaKey& other) noexcept {
    return equal(one.encoded(), other.encoded());
}

} // namespace

// The other numbers of a key are left out, since a view cannot join them; where two keys share this
// one, isSameKey decides.
ByteView distinctiveNumber(const _vlPublicKey& key) noexcept {
    switch (key.kind()) {
    case KeyKind::Rsa: return key.getRsaKeyPtr()->modulus();
    case KeyKind::Dsa: return key.getDsaKeyPtr()->y();
    case KeyKind::Ec: return key.getEccKeyPtr()->point();
    case KeyKind::Edwards: return key.getEdwardsKeyPtr()->encoded();
    case KeyKind::MlDsa: return key.getMlDsaKeyPtr()->encoded();
    case KeyKind::None: break;
    }
    return {};
}

// A key of no kind equals nothing, not even another such.
bool isSameKey(const _vlPublicKey& one, const _vlPublicKey& other) noexcept {
    if (one.kind() != other.kind()) {
        return false;
    }
    switch (one.kind()) {
    case KeyKind::Rsa: return equal(*one.getRsaKeyPtr(), *other.getRsaKeyPtr());
    case KeyKind::Dsa: return equal(*one.getDsaKeyPtr(), *other.getDsaKeyPtr());
    case KeyKind::Ec: return equal(*one.getEccKeyPtr(), *other.getEccKeyPtr());
    case KeyKind::Edwards: return equal(*one.getEdwardsKeyPtr(), *other.getEdwardsKeyPtr());
    case KeyKind::MlDsa: return equal(*one.getMlDsaKeyPtr(), *other.getMlDsaKeyPtr());
    case KeyKind::None: break;
    }
    return false;
}

bool isCertificateOf(const VantrelX509& cert, const _vlPublicKey& key) {
    _vlPublicKey own;
    std::string_view whyNot;
    return x509::loadSubjectPublicKeyInfo(cert.publicKeyInfo(), own, whyNot) && isSameKey(own, key);
}

// Most are told apart by their octets, which costs nothing. Authorities may write one key in two
// ways, with and without parameters that say nothing.
bool isSameCertificate(const VantrelX509& one, const VantrelX509& other) {
    return equal(one.certificate(), other.certificate());
}

bool haveSameKey(const VantrelX509& one, const VantrelX509& other) {
    if (equal(one.publicKeyInfo(), other.publicKeyInfo())) {
        return true;
    }
    _vlPublicKey key;
    std::string_view whyNot;
    return equal(one.subjectPublicKeyBits(), other.subjectPublicKeyBits()) &&
           x509::loadSubjectPublicKeyInfo(other.publicKeyInfo(), key, whyNot) &&
           isCertificateOf(one, key);
}

bool storeHolds(SystemCerts* store, const VantrelX509& cert) {
    return store != nullptr && store->holds(cert.certificate());
}

} // namespace vantrel::dsig
