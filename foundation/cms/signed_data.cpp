// SPDX-License-Identifier: MIT
#include "foundation/cms/signed_data.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/cms/cms_oids.h"
#include "foundation/x509/oids.h"

#include <cstdint>

namespace vantrel::cms {

using asn1::contextConstructed;
using asn1::contextPrimitive;
using asn1::DerElement;
using asn1::DerReader;
using asn1::Tag;
using x509::sameBytes;

namespace {

// Each function below reads one field, or one run of them, off the front of its reader, and leaves
// in `whyNot` what was being read when it failed.

// The contents of a field that may be absent, and then leaves `contents` empty.
bool readOptional(DerReader& fields, Tag tag, ByteView& contents) noexcept {
    return !fields.nextIs(tag) || fields.read(tag, contents);
}

// RFC 5652 5.2
bool parseContent(DerReader& body, SignedData& out, std::string_view& whyNot) noexcept {
    whyNot = "the encapsulated content is malformed";
    // EncapsulatedContentInfo ::= SEQUENCE {
    DerReader encapsulated;
    if (!body.enter(Tag::Sequence, encapsulated)) {
        return false;
    }
    //     eContentType  ContentType,
    if (!encapsulated.read(Tag::Oid, out.contentType)) {
        return false;
    }
    //     eContent      [0] EXPLICIT OCTET STRING OPTIONAL }
    // PKCS #7 (RFC 2315) allows any type in place of the octet string; a signature over that would
    // be over other bytes, so it is refused.
    if (encapsulated.atEnd()) {
        return true;
    }
    DerReader wrapper;
    out.hasContent = encapsulated.enter(contextConstructed(0), wrapper) &&
                     wrapper.read(Tag::OctetString, out.content) && wrapper.atEnd();
    return out.hasContent && encapsulated.atEnd();
}

// RFC 5652 10.2.3. Only where they begin and end: a certificate that is never asked for is not parsed.
bool parseCertificates(DerReader& body, SignedData& out, std::string_view& whyNot) {
    whyNot = "the set of certificates is malformed";
    // certificates [0] IMPLICIT SET OF CertificateChoices OPTIONAL
    if (!body.nextIs(contextConstructed(0))) {
        return true;
    }
    DerReader set;
    if (!body.enter(contextConstructed(0), set)) {
        return false;
    }
    while (!set.atEnd()) {
        DerElement choice;
        if (!set.readAny(choice)) {
            return false;
        }
        // CertificateChoices ::= CHOICE {
        //     certificate          Certificate,
        //     extendedCertificate  [0] IMPLICIT ExtendedCertificate,  -- obsolete
        //     v1AttrCert, v2AttrCert, other  [1] to [3] IMPLICIT ... }
        if (choice.tag != Tag::Sequence) {
            continue; // no certificate of a key
        }
        if (out.certificates.size() == kMaxCertificates) {
            whyNot = "there are too many certificates";
            return false;
        }
        out.certificates.push_back(choice.whole);
    }
    return true;
}

// RFC 5652 5.3
bool parseSignerIdentifier(DerReader& fields, SignerInfo& out) noexcept {
    // SignerIdentifier ::= CHOICE {
    //     issuerAndSerialNumber  IssuerAndSerialNumber,
    //     subjectKeyIdentifier   [0] SubjectKeyIdentifier }
    if (fields.nextIs(contextPrimitive(0))) {
        return fields.read(contextPrimitive(0), out.keyIdentifier) && !out.keyIdentifier.empty();
    }
    // IssuerAndSerialNumber ::= SEQUENCE { issuer Name, serialNumber INTEGER }
    // Neither form may be empty: an empty key identifier says which form it is (signed_data.h).
    DerReader name;
    return fields.enter(Tag::Sequence, name) && name.readWhole(Tag::Sequence, out.issuer) &&
           name.read(Tag::Integer, out.serialNumber) && !out.serialNumber.empty() && name.atEnd();
}

// RFC 5652 5.3
bool parseSignerInfo(DerReader fields, SignerInfo& out) noexcept {
    // SignerInfo ::= SEQUENCE {
    //     version             CMSVersion,
    //     sid                 SignerIdentifier,
    //     digestAlgorithm     DigestAlgorithmIdentifier,
    // The version follows from the form of the identifier (1 or 3). Nothing else hangs on it,
    // so it must be a small number and no more.
    std::int64_t version = 0;
    if (!asn1::readSmallInteger(fields, version) || !parseSignerIdentifier(fields, out) ||
        !fields.readWhole(Tag::Sequence, out.digestAlgorithm)) {
        return false;
    }
    //     signedAttrs         [0] IMPLICIT SignedAttributes OPTIONAL,
    // Kept as they stand. They are signed under the tag of a SET, not under [0]
    // (encodeSignedAttributes).
    if (fields.nextIs(contextConstructed(0))) {
        if (!fields.read(contextConstructed(0), out.signedAttributes)) {
            return false;
        }
        out.hasSignedAttributes = true;
    }
    //     signatureAlgorithm  SignatureAlgorithmIdentifier,
    //     signature           OCTET STRING,
    //     unsignedAttrs       [1] IMPLICIT UnsignedAttributes OPTIONAL }
    // Unsigned attributes vouch for nothing, so what stands in them is not looked at here.
    return fields.readWhole(Tag::Sequence, out.signatureAlgorithm) &&
           fields.read(Tag::OctetString, out.signature) &&
           readOptional(fields, contextConstructed(1), out.unsignedAttributes) && fields.atEnd();
}

// SignedData without a signer is well formed: it is how certificates are passed on. Whether that is
// enough is for the caller to say.
bool parseSigners(DerReader& body, SignedData& out, std::string_view& whyNot) {
    whyNot = "a signer is malformed";
    // SignerInfos ::= SET OF SignerInfo
    DerReader set;
    if (!body.enter(Tag::Set, set)) {
        return false;
    }
    while (!set.atEnd()) {
        DerReader fields;
        SignerInfo signer;
        if (!set.enter(Tag::Sequence, fields) || !parseSignerInfo(fields, signer)) {
            return false;
        }
        if (out.signers.size() == kMaxSigners) {
            whyNot = "there are too many signers";
            return false;
        }
        out.signers.push_back(signer);
    }
    return true;
}

// RFC 5652 5.1
bool parseBody(DerReader& content, SignedData& out, std::string_view& whyNot) {
    whyNot = "the version or the digest algorithms are malformed";
    // SignedData ::= SEQUENCE {
    DerReader body;
    if (!content.enter(Tag::Sequence, body) || !content.atEnd()) {
        return false;
    }
    //     version           CMSVersion,
    //     digestAlgorithms  DigestAlgorithmIdentifiers,
    // The digest algorithms are a hint for readers that hash while they read; each signer names his
    // own, which is the one that counts.
    std::int64_t version = 0;
    ByteView digests;
    if (!asn1::readSmallInteger(body, version) || !body.read(Tag::Set, digests)) {
        return false;
    }
    // A message of version 1 to 5 differs in what may stand below, not in its order.
    //     encapContentInfo  EncapsulatedContentInfo,
    //     certificates      [0] IMPLICIT CertificateSet OPTIONAL,
    if (!parseContent(body, out, whyNot) || !parseCertificates(body, out, whyNot)) {
        return false;
    }
    //     crls              [1] IMPLICIT RevocationInfoChoices OPTIONAL,
    // Not read: revocation is not checked here (certificate_path.h).
    whyNot = "the revocation data are malformed";
    if (!readOptional(body, contextConstructed(1), out.revocationInfo)) {
        return false;
    }
    //     signerInfos       SignerInfos }
    if (!parseSigners(body, out, whyNot)) {
        return false;
    }
    whyNot = "something follows the signers";
    return body.atEnd();
}

} // namespace

SignedDataVerdict parseSignedData(ByteView der, SignedData& out, std::string_view& whyNot) {
    out = SignedData();
    whyNot = "the outer structure is malformed";
    // ContentInfo ::= SEQUENCE { contentType ContentType, content [0] EXPLICIT ANY }
    DerReader reader(der);
    DerReader info;
    ByteView type;
    DerReader content;
    if (!reader.enter(Tag::Sequence, info) || !info.read(Tag::Oid, type)) {
        return SignedDataVerdict::Malformed;
    }
    if (!sameBytes(type, oid::kSignedData)) {
        whyNot = "the content is of another type";
        return SignedDataVerdict::OtherContentType;
    }
    if (!info.enter(contextConstructed(0), content) || !info.atEnd() ||
        !parseBody(content, out, whyNot)) {
        return SignedDataVerdict::Malformed;
    }
    // Some senders pad; the caller is told what the message itself took.
    out.size = der.size() - reader.rest().size();
    return SignedDataVerdict::Parsed;
}

} // namespace vantrel::cms
