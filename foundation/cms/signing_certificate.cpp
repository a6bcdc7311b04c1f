// SPDX-License-Identifier: MIT
#include "foundation/cms/signing_certificate.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/cms/names.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/signature_algorithm.h"

namespace vantrel::cms {

using asn1::DerReader;
using asn1::Tag;
using x509::sameBytes;

namespace {

// The first ESSCertID or ESSCertIDv2 of the attribute, whose two versions differ in that type only.
bool firstIdentifier(ByteView attribute, DerReader& identifier) noexcept {
    DerReader reader(attribute);
    // SigningCertificate ::= SEQUENCE {
    //     certs     SEQUENCE OF ESSCertID,
    //     policies  SEQUENCE OF PolicyInformation OPTIONAL }
    DerReader fields;
    DerReader certs;
    return reader.enter(Tag::Sequence, fields) && fields.enter(Tag::Sequence, certs) &&
           fields.skipOptional(Tag::Sequence) && fields.atEnd() &&
           certs.enter(Tag::Sequence, identifier);
}

// The rest of an identifier, which may be empty: the hash alone names the certificate well enough.
// IssuerSerial ::= SEQUENCE { issuer GeneralNames, serialNumber CertificateSerialNumber }
bool issuerSerialMatches(DerReader& identifier, const VantrelX509& certificate) {
    if (identifier.atEnd()) {
        return true;
    }
    DerReader issuerSerial;
    DerReader names;
    ByteView serial;
    if (!identifier.enter(Tag::Sequence, issuerSerial) || !identifier.atEnd() ||
        !issuerSerial.enter(Tag::Sequence, names) || !issuerSerial.read(Tag::Integer, serial) ||
        !issuerSerial.atEnd()) {
        return false;
    }
    // GeneralNames ::= SEQUENCE SIZE (1..MAX) OF GeneralName
    // GeneralName ::= CHOICE { ..., directoryName [4] Name, ... }
    // Of the names there must be one, of that form. The tag is explicit although those of the
    // module are implicit: a Name is a CHOICE, which has no tag that another could replace (X.680).
    DerReader directoryName;
    ByteView issuer;
    return names.enter(asn1::contextConstructed(4), directoryName) && names.atEnd() &&
           directoryName.readWhole(Tag::Sequence, issuer) && directoryName.atEnd() &&
           sameBytes(serial, certificate.serialNumber()) && sameName(issuer, certificate.issuer());
}

// An unknown hash gives an empty digest, which matches nothing.
bool hashMatches(int hashId, ByteView expected, const VantrelX509& certificate) noexcept {
    std::uint8_t digest[crypto::kMaxDigestSize];
    const ByteView computed = crypto::hashBytes(hashId, certificate.certificate(), digest);
    return !computed.empty() && sameBytes(computed, expected);
}

} // namespace

bool namesCertificate(ByteView attribute, const VantrelX509& certificate) {
    // certHash is the SHA-1 of the whole certificate, in DER.
    // ESSCertID ::= SEQUENCE { certHash OCTET STRING, issuerSerial IssuerSerial OPTIONAL }
    DerReader identifier;
    ByteView hash;
    return firstIdentifier(attribute, identifier) && identifier.read(Tag::OctetString, hash) &&
           hashMatches(kHashSha1, hash, certificate) &&
           issuerSerialMatches(identifier, certificate);
}

bool namesCertificateV2(ByteView attribute, const VantrelX509& certificate) {
    DerReader identifier;
    if (!firstIdentifier(attribute, identifier)) {
        return false;
    }
    // ESSCertIDv2 ::= SEQUENCE {
    //     hashAlgorithm  AlgorithmIdentifier DEFAULT { id-sha256 },
    int hashId = kHashSha256;
    if (identifier.nextIs(Tag::Sequence)) {
        ByteView algorithm;
        if (!identifier.readWhole(Tag::Sequence, algorithm)) {
            return false;
        }
        hashId = x509::parseDigestAlgorithm(algorithm);
    }
    //     certHash       OCTET STRING,
    //     issuerSerial   IssuerSerial OPTIONAL }
    ByteView hash;
    return identifier.read(Tag::OctetString, hash) && hashMatches(hashId, hash, certificate) &&
           issuerSerialMatches(identifier, certificate);
}

} // namespace vantrel::cms
