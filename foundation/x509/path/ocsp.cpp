// SPDX-License-Identifier: MIT
#include "foundation/x509/path/ocsp.h"

#include "foundation/asn1/asn1_time.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/path/directory_name.h"
#include "foundation/x509/path/extensions.h"
#include "foundation/x509/signature_algorithm.h"

#include <utility>

namespace vantrel::x509 {

using asn1::DerElement;
using asn1::DerReader;
using asn1::Tag;

namespace {

// OCSPResponseStatus successful (0). Others have no response bytes and are not signed, so that
// anybody may have made them.
constexpr std::int64_t kSuccessful = 0;

// Certificates in one response: the responder's and a few above it. Each becomes a candidate for
// the signer and costs a decoding; whoever sends the response chooses their number.
constexpr std::size_t kMaxCertificates = 100;

// RFC 6960 knows GeneralizedTime only. The two digits of a year that a UTCTime has are refused.
bool readMoment(DerReader& reader, std::int64_t& seconds) noexcept {
    return reader.nextIs(Tag::GeneralizedTime) && asn1::readTime(reader, seconds);
}

bool readCertId(DerReader& fields, OcspAnswer& answer) {
    // CertID ::= SEQUENCE { hashAlgorithm AlgorithmIdentifier, issuerNameHash OCTET STRING,
    //     issuerKeyHash OCTET STRING, serialNumber CertificateSerialNumber }
    DerReader id;
    ByteView algorithm;
    if (!fields.enter(Tag::Sequence, id) || !id.readWhole(Tag::Sequence, algorithm) ||
        !id.read(Tag::OctetString, answer.issuerNameHash) ||
        !id.read(Tag::OctetString, answer.issuerKeyHash) || !id.read(Tag::Integer, answer.serial) ||
        !id.atEnd()) {
        return false;
    }
    // An algorithm that is not known makes hashId 0, which isHashOf never matches.
    answer.hashId = parseDigestAlgorithm(algorithm);
    return true;
}

bool readStatus(DerReader& fields, OcspAnswer& answer) {
    // CertStatus ::= CHOICE { good [0] IMPLICIT NULL, revoked [1] IMPLICIT RevokedInfo,
    //     unknown [2] IMPLICIT UnknownInfo }
    DerElement status;
    if (!fields.readAny(status)) {
        return false;
    }
    // The tags are tested before the contents, since good and unknown differ by nothing else.
    if (status.tag == asn1::contextPrimitive(0) || status.tag == asn1::contextPrimitive(2)) {
        answer.status = status.tag == asn1::contextPrimitive(0) ? RevocationStatus::Good
                                                                : RevocationStatus::Unknown;
        return status.contents.empty();
    }
    // RevokedInfo ::= SEQUENCE { revocationTime GeneralizedTime,
    //     revocationReason [0] EXPLICIT CRLReason OPTIONAL }
    DerReader info(status.contents);
    DerReader reason;
    answer.status = RevocationStatus::Revoked;
    if (status.tag != asn1::contextConstructed(1) || !readMoment(info, answer.revokedAt)) {
        return false;
    }
    if (info.nextIs(asn1::contextConstructed(0)) &&
        (!info.enter(asn1::contextConstructed(0), reason) ||
         !asn1::readSmallInteger(reason, answer.reason, Tag::Enumerated) || !reason.atEnd())) {
        return false;
    }
    return info.atEnd();
}

// The extensions of a response or an answer: none binds us but those that are critical.
// Nonces among them: whoever looks at a stored response asked for none.
bool readOwnExtensions(DerReader& fields, bool& unknownCritical) {
    ByteView whole;
    std::vector<Extension> extensions;
    if (!fields.nextIs(asn1::contextConstructed(1))) {
        return true;
    }
    if (!fields.read(asn1::contextConstructed(1), whole) || !readExtensions(whole, extensions)) {
        return false;
    }
    for (const Extension& extension : extensions) {
        // Evidence of publication says nothing about revocation.
        if (extension.critical && !sameBytes(extension.id, oid::kOcspTimestampList)) {
            unknownCritical = true;
        }
    }
    return true;
}

bool readAnswer(DerReader fields, OcspAnswer& answer) {
    // SingleResponse ::= SEQUENCE {
    //     certID            CertID,
    //     certStatus        CertStatus,
    //     thisUpdate        GeneralizedTime,
    if (!readCertId(fields, answer) || !readStatus(fields, answer) ||
        !readMoment(fields, answer.thisUpdate)) {
        return false;
    }
    //     nextUpdate        [0] EXPLICIT GeneralizedTime OPTIONAL,
    DerReader wrapper;
    if (fields.nextIs(asn1::contextConstructed(0))) {
        std::int64_t next = 0;
        if (!fields.enter(asn1::contextConstructed(0), wrapper) || !readMoment(wrapper, next) ||
            !wrapper.atEnd()) {
            return false;
        }
        answer.nextUpdate = next;
    }
    //     singleExtensions  [1] EXPLICIT Extensions OPTIONAL }
    return readOwnExtensions(fields, answer.unknownCritical) && fields.atEnd();
}

bool readResponder(DerReader& fields, OcspResponse& response) {
    // ResponderID ::= CHOICE { byName [1] EXPLICIT Name, byKey [2] EXPLICIT OCTET STRING }
    DerReader wrapper;
    if (fields.enter(asn1::contextConstructed(1), wrapper)) {
        ByteView name;
        return wrapper.readWhole(Tag::Sequence, name) && wrapper.atEnd() &&
               appendNameKey(name, response.responderName) && !response.responderName.empty();
    }
    return fields.enter(asn1::contextConstructed(2), wrapper) &&
           wrapper.read(Tag::OctetString, response.responderKeyHash) && wrapper.atEnd() &&
           !response.responderKeyHash.empty();
}

bool readData(ByteView tbs, OcspResponse& response) {
    // ResponseData ::= SEQUENCE {
    DerReader reader(tbs);
    DerReader fields;
    if (!reader.enter(Tag::Sequence, fields)) {
        return false;
    }
    //     version             [0] EXPLICIT Version DEFAULT v1,
    DerReader wrapper;
    std::int64_t version = 0;
    if (fields.nextIs(asn1::contextConstructed(0)) &&
        (!fields.enter(asn1::contextConstructed(0), wrapper) ||
         !asn1::readSmallInteger(wrapper, version) || version != 0 || !wrapper.atEnd())) {
        return false;
    }
    //     responderID         ResponderID,
    //     producedAt          GeneralizedTime,
    //     responses           SEQUENCE OF SingleResponse,
    DerReader answers;
    if (!readResponder(fields, response) || !readMoment(fields, response.producedAt) ||
        !fields.enter(Tag::Sequence, answers)) {
        return false;
    }
    while (!answers.atEnd()) {
        // As many as the responder likes; those about other certificates are passed over later.
        DerReader one;
        if (!answers.enter(Tag::Sequence, one) ||
            !readAnswer(one, response.answers.emplace_back())) {
            return false;
        }
    }
    //     responseExtensions  [1] EXPLICIT Extensions OPTIONAL }
    return readOwnExtensions(fields, response.unknownCritical) && fields.atEnd();
}

// certs [0] EXPLICIT SEQUENCE OF Certificate OPTIONAL, the last field
bool readCertificates(DerReader& fields, std::vector<ByteView>& certificates) {
    DerReader wrapper;
    DerReader list;
    if (fields.atEnd()) {
        return true;
    }
    if (!fields.enter(asn1::contextConstructed(0), wrapper) ||
        !wrapper.enter(Tag::Sequence, list) || !wrapper.atEnd()) {
        return false;
    }
    while (!list.atEnd()) {
        ByteView whole;
        if (certificates.size() == kMaxCertificates || !list.readWhole(Tag::Sequence, whole)) {
            return false;
        }
        certificates.push_back(whole);
    }
    return fields.atEnd();
}

bool readBasic(ByteView der, OcspResponse& response) {
    // BasicOCSPResponse ::= SEQUENCE {
    //     tbsResponseData     ResponseData,
    //     signatureAlgorithm  AlgorithmIdentifier,
    //     signature           BIT STRING,
    //     certs               [0] EXPLICIT SEQUENCE OF Certificate OPTIONAL }
    DerReader reader(der);
    DerReader fields;
    return reader.enter(Tag::Sequence, fields) && reader.atEnd() &&
           fields.readWhole(Tag::Sequence, response.tbs) && readData(response.tbs, response) &&
           fields.readWhole(Tag::Sequence, response.signatureAlgorithm) &&
           asn1::readSignatureBits(fields, response.signature) &&
           readCertificates(fields, response.certificates);
}

} // namespace

bool parseOcspResponse(ByteView der, OcspResponse& response, std::string_view& whyNot) {
    whyNot = "the answer is malformed";
    DerReader reader(der);
    // OCSPResponse ::= SEQUENCE {
    //     responseStatus  OCSPResponseStatus ::= ENUMERATED,
    DerReader fields;
    std::int64_t status = 0;
    if (!reader.enter(Tag::Sequence, fields) || !reader.atEnd() ||
        !asn1::readSmallInteger(fields, status, Tag::Enumerated)) {
        return false;
    }
    if (status != kSuccessful) {
        whyNot = "the responder reported an error";
        return false;
    }
    //     responseBytes   [0] EXPLICIT SEQUENCE {
    //         responseType  OBJECT IDENTIFIER,
    //         response      OCTET STRING } OPTIONAL }
    DerReader wrapper;
    DerReader bytes;
    ByteView type;
    ByteView basic;
    if (!fields.enter(asn1::contextConstructed(0), wrapper) || !fields.atEnd() ||
        !wrapper.enter(Tag::Sequence, bytes) || !wrapper.atEnd() || !bytes.read(Tag::Oid, type) ||
        !bytes.read(Tag::OctetString, basic) || !bytes.atEnd()) {
        return false;
    }
    OcspResponse parsed;
    // Other types than basic exist by definition only (RFC 6960 4.2.1).
    if (!sameBytes(type, oid::kOcspBasic) || !readBasic(basic, parsed)) {
        return false;
    }
    response = std::move(parsed);
    return true;
}

} // namespace vantrel::x509
