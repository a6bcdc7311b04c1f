// SPDX-License-Identifier: MIT
#include "foundation/x509/keys/key_der.h"

#include "foundation/asn1/ber_normalize.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/asn1/der_writer.h"
#include "foundation/asn1/oid.h"
#include "foundation/crypto/dsa/DsaKeyData.h"
#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/ecc/curves.h"
#include "foundation/crypto/edwards/edwards_key.h"
#include "foundation/crypto/mldsa/mldsa_key.h"
#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/x509/keys/_vlPublicKey.h"
#include "foundation/x509/oids.h"

#include <memory>
#include <string>
#include <vector>

namespace vantrel::x509 {

using asn1::DerReader;
using asn1::Tag;

namespace {

constexpr std::string_view kMalformed = "the key is malformed";

struct KeyInfoParts {
    ByteView algorithm;
    DerReader parameters;
    ByteView keyBits;
};

// RFC 5280 4.1
bool readKeyInfo(ByteView der, KeyInfoParts& parts) noexcept {
    DerReader reader(der);
    // SubjectPublicKeyInfo ::= SEQUENCE {
    DerReader info;
    if (!reader.enter(Tag::Sequence, info) || !reader.atEnd()) {
        return false;
    }
    //     algorithm         AlgorithmIdentifier ::= SEQUENCE {
    DerReader algorithm;
    if (!info.enter(Tag::Sequence, algorithm)) {
        return false;
    }
    //         algorithm     OBJECT IDENTIFIER,
    if (!algorithm.read(Tag::Oid, parts.algorithm)) {
        return false;
    }
    //         parameters    ANY OPTIONAL },
    parts.parameters = algorithm;
    if (!algorithm.atEnd() && (!algorithm.skip() || !algorithm.atEnd())) {
        return false;
    }
    //     subjectPublicKey  BIT STRING }
    return asn1::readOctetBits(info, parts.keyBits) && info.atEnd();
}

bool loadDsa(const KeyInfoParts& parts, _vlPublicKey& key, std::string_view& whyNot) {
    if (parts.parameters.atEnd() || parts.parameters.nextIs(Tag::Null)) {
        whyNot = "the DSA key has no parameters";
        return false;
    }
    whyNot = kMalformed;
    DerReader parameters = parts.parameters;
    // RFC 3279 2.3.2: Dss-Parms ::= SEQUENCE { p INTEGER, q INTEGER, g INTEGER }
    DerReader numbers;
    ByteView p;
    ByteView q;
    ByteView g;
    if (!parameters.enter(Tag::Sequence, numbers) || !asn1::readUnsigned(numbers, p) ||
        !asn1::readUnsigned(numbers, q) || !asn1::readUnsigned(numbers, g) || !numbers.atEnd()) {
        return false;
    }
    // DSAPublicKey ::= INTEGER
    DerReader bits(parts.keyBits);
    ByteView y;
    if (!asn1::readUnsigned(bits, y) || !bits.atEnd()) {
        return false;
    }
    return key.loadDsa(p, q, g, y, whyNot);
}

// RFC 3279 2.3.5, SEC 1 C.2
const crypto::Curve* readExplicitCurve(DerReader reader) noexcept {
    // ECParameters ::= SEQUENCE {
    DerReader parameters;
    std::int64_t version = 0;
    //     version   INTEGER,
    if (!reader.enter(Tag::Sequence, parameters) || !asn1::readSmallInteger(parameters, version)) {
        return nullptr;
    }
    //     fieldID   SEQUENCE { fieldType OBJECT IDENTIFIER, prime-p INTEGER },
    DerReader field;
    ByteView fieldType;
    ByteView p;
    if (!parameters.enter(Tag::Sequence, field) || !field.read(Tag::Oid, fieldType) ||
        !sameBytes(fieldType, oid::kPrimeField) || !asn1::readUnsigned(field, p)) {
        return nullptr;
    }
    //     curve     SEQUENCE { a OCTET STRING, b OCTET STRING, seed BIT STRING OPTIONAL },
    DerReader curve;
    ByteView a;
    ByteView b;
    if (!parameters.enter(Tag::Sequence, curve) || !curve.read(Tag::OctetString, a) ||
        !curve.read(Tag::OctetString, b)) {
        return nullptr;
    }
    //     base      OCTET STRING, order INTEGER, cofactor INTEGER OPTIONAL }
    ByteView base;
    ByteView order;
    if (!parameters.read(Tag::OctetString, base) || !asn1::readUnsigned(parameters, order)) {
        return nullptr;
    }
    std::int64_t cofactor = 1;
    if (parameters.nextIs(Tag::Integer) &&
        (!asn1::readSmallInteger(parameters, cofactor) || cofactor != 1)) {
        return nullptr;
    }
    return crypto::findCurveByParameters(p, a, b, base, order);
}

bool loadEc(const KeyInfoParts& parts, _vlPublicKey& key, std::string_view& whyNot) {
    DerReader parameters = parts.parameters;
    const crypto::Curve* curve = nullptr;
    ByteView name;
    if (parameters.read(Tag::Oid, name)) {
        std::string dotted;
        if (asn1::oidToText(name, dotted)) {
            curve = crypto::findCurveByOid(dotted);
        }
    } else {
        curve = readExplicitCurve(parameters);
    }
    if (curve == nullptr) {
        whyNot = "the curve is not supported";
        return false;
    }
    auto point = std::make_unique<EccVerifier>();
    if (!point->loadPoint(*curve, parts.keyBits, whyNot)) {
        return false;
    }
    key.takeEc(std::move(point));
    return true;
}

// RFC 8410 3: the parameters must be absent.
bool loadEdwards(const crypto::EdwardsCurve& curve, const KeyInfoParts& parts, _vlPublicKey& key,
                 std::string_view& whyNot) {
    if (!parts.parameters.atEnd()) {
        return false;
    }
    std::unique_ptr<crypto::EdwardsKey> loaded =
        crypto::EdwardsKey::load(curve, parts.keyBits, whyNot);
    if (loaded == nullptr) {
        return false;
    }
    key.takeEdwards(std::move(loaded));
    return true;
}

// RFC 9881, 2 and 4: here, too.
bool loadMlDsa(const crypto::MlDsaSet& set, const KeyInfoParts& parts, _vlPublicKey& key,
               std::string_view& whyNot) {
    if (!parts.parameters.atEnd()) {
        return false;
    }
    std::unique_ptr<crypto::MlDsaKey> loaded = crypto::MlDsaKey::load(set, parts.keyBits, whyNot);
    if (loaded == nullptr) {
        return false;
    }
    key.takeMlDsa(std::move(loaded));
    return true;
}

// The kinds whose algorithm is that of one curve or set of parameters.
bool loadNamed(const KeyInfoParts& parts, _vlPublicKey& key, std::string_view& whyNot) {
    std::string dotted;
    if (!asn1::oidToText(parts.algorithm, dotted)) {
        return false;
    }
    if (const crypto::EdwardsCurve* const curve = crypto::findEdwardsCurveByOid(dotted)) {
        return loadEdwards(*curve, parts, key, whyNot);
    }
    if (const crypto::MlDsaSet* const set = crypto::findMlDsaSetByOid(dotted)) {
        return loadMlDsa(*set, parts, key, whyNot);
    }
    whyNot = "the key's algorithm is not supported";
    return false;
}

} // namespace

bool loadRsaPublicKey(ByteView der, _vlPublicKey& key, std::string_view& whyNot) {
    key.clear();
    whyNot = kMalformed;
    DerReader reader(der);
    // RSAPublicKey ::= SEQUENCE {
    DerReader numbers;
    if (!reader.enter(Tag::Sequence, numbers) || !reader.atEnd()) {
        return false;
    }
    //     modulus         INTEGER,
    //     publicExponent  INTEGER }
    ByteView modulus;
    ByteView exponent;
    if (!asn1::readUnsigned(numbers, modulus) || !asn1::readUnsigned(numbers, exponent) ||
        !numbers.atEnd()) {
        return false;
    }
    return key.loadRsa(modulus, exponent, whyNot);
}

bool loadSubjectPublicKeyInfo(ByteView der, _vlPublicKey& key, std::string_view& whyNot) {
    key.clear();
    whyNot = kMalformed;
    KeyInfoParts parts;
    if (!readKeyInfo(der, parts)) {
        return false;
    }
    if (sameBytes(parts.algorithm, oid::kRsaEncryption) ||
        sameBytes(parts.algorithm, oid::kRsaPss) || sameBytes(parts.algorithm, oid::kRsaX500)) {
        return loadRsaPublicKey(parts.keyBits, key, whyNot);
    }
    if (sameBytes(parts.algorithm, oid::kEcPublicKey)) {
        return loadEc(parts, key, whyNot);
    }
    if (sameBytes(parts.algorithm, oid::kDsa) || sameBytes(parts.algorithm, oid::kDsaOiw)) {
        return loadDsa(parts, key, whyNot);
    }
    return loadNamed(parts, key, whyNot);
}

bool loadKeyDer(ByteView der, _vlPublicKey& key, std::string_view& whyNot) {
    DerReader reader(der);
    DerReader inner;
    if (reader.enter(Tag::Sequence, inner)) {
        return inner.nextIs(Tag::Integer) ? loadRsaPublicKey(der, key, whyNot)
                                          : loadSubjectPublicKeyInfo(der, key, whyNot);
    }
    key.clear();
    whyNot = kMalformed;
    std::vector<std::uint8_t> normal;
    std::size_t consumed = 0;
    if (!asn1::normalizeBer(der, normal, consumed) || consumed != der.size()) {
        return false;
    }
    return DerReader(normal).enter(Tag::Sequence, inner) && inner.nextIs(Tag::Integer)
               ? loadRsaPublicKey(normal, key, whyNot)
               : loadSubjectPublicKeyInfo(normal, key, whyNot);
}

namespace {

using asn1::DerWriter;

// The AlgorithmIdentifier. RFC 3279 2.3.1: for RSA the parameters are NULL; 2.3.2: for DSA they are
// p, q and g; RFC 5480 2.1.1: for a point the identifier of its curve.
void writeAlgorithm(const _vlPublicKey& key, DerWriter& out) {
    out.open(Tag::Sequence);
    switch (key.kind()) {
    case KeyKind::Rsa:
        out.write(Tag::Oid, oid::kRsaEncryption);
        out.writeNull();
        break;
    case KeyKind::Dsa:
        out.write(Tag::Oid, oid::kDsa);
        out.open(Tag::Sequence);
        out.writeUnsigned(key.getDsaKeyPtr()->p());
        out.writeUnsigned(key.getDsaKeyPtr()->q());
        out.writeUnsigned(key.getDsaKeyPtr()->g());
        out.close();
        break;
    case KeyKind::Ec:
        out.write(Tag::Oid, oid::kEcPublicKey);
        // The identifiers of the table of curves are all well formed.
        static_cast<void>(out.writeOid(key.getEccKeyPtr()->curve()->oid));
        break;
    case KeyKind::Edwards:
        static_cast<void>(out.writeOid(key.getEdwardsKeyPtr()->curve().oid));
        break;
    case KeyKind::MlDsa: static_cast<void>(out.writeOid(key.getMlDsaKeyPtr()->set().oid)); break;
    case KeyKind::None: break;
    }
    out.close();
}

} // namespace

std::vector<std::uint8_t> subjectPublicKeyBits(const _vlPublicKey& key) {
    DerWriter out;
    switch (key.kind()) {
    case KeyKind::Rsa:
        out.open(Tag::Sequence);
        out.writeUnsigned(key.getRsaKeyPtr()->modulus());
        out.writeUnsigned(key.getRsaKeyPtr()->exponent());
        out.close();
        break;
    case KeyKind::Dsa: out.writeUnsigned(key.getDsaKeyPtr()->y()); break;
    case KeyKind::Ec: out.writeRaw(key.getEccKeyPtr()->point()); break;
    case KeyKind::Edwards: out.writeRaw(key.getEdwardsKeyPtr()->encoded()); break;
    case KeyKind::MlDsa: out.writeRaw(key.getMlDsaKeyPtr()->encoded()); break;
    case KeyKind::None: break;
    }
    return {out.bytes().begin(), out.bytes().end()};
}

std::vector<std::uint8_t> subjectPublicKeyInfo(const _vlPublicKey& key) {
    if (key.kind() == KeyKind::None) {
        return {};
    }
    constexpr std::uint8_t kNoUnusedBits[] = {0};
    DerWriter out;
    out.open(Tag::Sequence);
    writeAlgorithm(key, out);
    out.open(Tag::BitString);
    out.writeRaw(kNoUnusedBits);
    out.writeRaw(subjectPublicKeyBits(key));
    out.close();
    out.close();
    return {out.bytes().begin(), out.bytes().end()};
}

} // namespace vantrel::x509
