// SPDX-License-Identifier: MIT
#include "foundation/x509/VantrelX509.h"

#include "foundation/asn1/ber_normalize.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/text/no_throw.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/name_reader.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/serial_number.h"

#include <string>
#include <vector>

namespace vantrel {

using asn1::DerElement;
using asn1::DerReader;
using asn1::Tag;

namespace {

// BER that is not DER becomes DER; false when the bytes are not even BER.
bool toDer(ByteView ber, DataBuffer& der) {
    std::vector<std::uint8_t> normal;
    std::size_t consumed = 0;
    der.clear();
    return asn1::normalizeBer(ber, normal, consumed) && der.append(ByteView(normal));
}

bool commonName(ByteView name, XString& out) {
    return text::noThrow(false, [&] {
        std::string text;
        out.clear();
        return x509::appendCommonName(name, text) && out.setFromSbUtf8(StringBuffer(text));
    });
}

} // namespace

void VantrelX509::clear() noexcept {
    m_der.clear();
    for (Range& range : m_parts) {
        range = Range();
    }
}

void VantrelX509::setPart(Part which, ByteView bytes) noexcept {
    m_parts[which].offset = static_cast<std::uint32_t>(bytes.data() - m_der.view().data());
    m_parts[which].length = static_cast<std::uint32_t>(bytes.size());
}

bool VantrelX509::loadX509Der(const DataBuffer& der, LogBase& log) {
    return loadX509Der(der, {0, der.getSize()}, log);
}

bool VantrelX509::loadX509Der(const DataBuffer& bytes, Range piece, LogBase& log) {
    return text::noThrow(false, [&] {
        clear();
        m_der = bytes;
        const ByteView der = m_der.view().subspan(piece.offset, piece.length);
        std::string_view whyNot;
        if (parse(der, whyNot)) {
            return true;
        }
        DataBuffer normal;
        if (toDer(der, normal) && !x509::sameBytes(normal.view(), der)) {
            clear();
            m_der = normal;
            if (parse(m_der.view(), whyNot)) {
                return true;
            }
        }
        clear();
        log.LogError("The bytes are not an X.509 certificate.");
        log.logText("reason", whyNot);
        return false;
    });
}

// RFC 5280 4.1
bool VantrelX509::parse(ByteView der, std::string_view& whyNot) noexcept {
    whyNot = "the outer structure is malformed";
    DerReader reader(der);
    // Certificate ::= SEQUENCE {
    DerElement whole;
    if (!reader.nextIs(Tag::Sequence) || !reader.readAny(whole)) {
        return false;
    }
    DerReader certificate(whole.contents);
    //     tbsCertificate      TBSCertificate,
    //     signatureAlgorithm  AlgorithmIdentifier,
    //     signatureValue      BIT STRING }
    ByteView tbs;
    ByteView algorithm;
    ByteView signature;
    if (!certificate.readWhole(Tag::Sequence, tbs) ||
        !certificate.readWhole(Tag::Sequence, algorithm) ||
        !asn1::readSignatureBits(certificate, signature) || !certificate.atEnd()) {
        return false;
    }
    if (!parseTbs(tbs, whyNot)) {
        return false;
    }
    setPart(kTbs, tbs);
    setPart(kSignatureAlgorithm, algorithm);
    setPart(kSignature, signature);
    setPart(kCertificate, whole.whole);
    return true;
}

bool VantrelX509::parseTbs(ByteView tbs, std::string_view& whyNot) noexcept {
    DerReader outer(tbs);
    // TBSCertificate ::= SEQUENCE {
    DerReader body;
    if (!outer.enter(Tag::Sequence, body)) {
        return false;
    }
    //     version          [0] EXPLICIT Version DEFAULT v1,
    //     serialNumber     INTEGER,
    //     signature        AlgorithmIdentifier,
    whyNot = "the version, serial number or algorithm is malformed";
    ByteView serial;
    ByteView algorithm;
    if (!body.skipOptional(asn1::contextConstructed(0)) || !body.read(Tag::Integer, serial) ||
        serial.empty() || !body.readWhole(Tag::Sequence, algorithm)) {
        return false;
    }
    //     issuer           Name,
    //     validity         SEQUENCE { notBefore Time, notAfter Time },
    //     subject          Name,
    whyNot = "the issuer, validity or subject is malformed";
    ByteView issuer;
    ByteView validity;
    ByteView subject;
    if (!body.readWhole(Tag::Sequence, issuer) || !body.readWhole(Tag::Sequence, validity) ||
        !body.readWhole(Tag::Sequence, subject) || !x509::isWellFormedName(issuer) ||
        !x509::isWellFormedName(subject)) {
        return false;
    }
    //     subjectPublicKeyInfo  SubjectPublicKeyInfo,
    whyNot = "the public key is malformed";
    ByteView keyInfo;
    if (!body.readWhole(Tag::Sequence, keyInfo)) {
        return false;
    }
    //     issuerUniqueID   [1] IMPLICIT BIT STRING OPTIONAL,
    //     subjectUniqueID  [2] IMPLICIT BIT STRING OPTIONAL,
    //     extensions       [3] EXPLICIT SEQUENCE OF Extension OPTIONAL }
    whyNot = "the extensions are malformed";
    if (!body.skipOptional(asn1::contextPrimitive(1)) ||
        !body.skipOptional(asn1::contextPrimitive(2))) {
        return false;
    }
    if (!body.atEnd()) {
        DerReader wrapper;
        ByteView extensions;
        if (!body.enter(asn1::contextConstructed(3), wrapper) ||
            !wrapper.readWhole(Tag::Sequence, extensions) || !wrapper.atEnd() || !body.atEnd()) {
            return false;
        }
        setPart(kExtensions, extensions);
    }
    setPart(kSerial, serial);
    setPart(kTbsAlgorithm, algorithm);
    setPart(kIssuer, issuer);
    setPart(kValidity, validity);
    setPart(kSubject, subject);
    setPart(kPublicKeyInfo, keyInfo);
    return true;
}

bool VantrelX509::get_PublicKey(DataBuffer& out, LogBase& /*log*/) const {
    out.clear();
    return isLoaded() && out.append(publicKeyInfo());
}

bool VantrelX509::get_IssuerCN(XString& out, LogBase& /*log*/) const {
    return commonName(issuer(), out);
}

bool VantrelX509::get_SubjectCN(XString& out, LogBase& /*log*/) const {
    return commonName(subject(), out);
}

bool VantrelX509::get_SerialNumber(XString& out, LogBase& /*log*/) const {
    return text::noThrow(false, [&] {
        std::string text;
        out.clear();
        if (!isLoaded()) {
            return false;
        }
        x509::appendSerialText(serialNumber(), text);
        return out.setFromSbUtf8(StringBuffer(text));
    });
}

bool VantrelX509::getDN(bool wantSubject, bool mostSpecificFirst, XString& out, LogBase& /*log*/,
                        int /*flags*/) const {
    StringBuffer text;
    out.clear();
    return isLoaded() &&
           DistinguishedName::fromDer(wantSubject ? subject() : issuer(), mostSpecificFirst,
                                      text) &&
           out.setFromSbUtf8(text);
}

bool VantrelX509::getCertDer(DataBuffer& out) const {
    return isLoaded() && out.append(certificate());
}

bool VantrelX509::isSelfIssued() const noexcept {
    return isLoaded() && x509::sameBytes(issuer(), subject());
}

} // namespace vantrel
