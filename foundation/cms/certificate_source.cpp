// SPDX-License-Identifier: MIT
#include "foundation/cms/certificate_source.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/cms/cms_oids.h"
#include "foundation/cms/names.h"
#include "foundation/cms/signed_data.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/CertificateHolder.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/name_reader.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/serial_number.h"

#include <algorithm>
#include <string>

namespace vantrel::cms {

using asn1::DerReader;
using asn1::Tag;
using x509::sameBytes;

namespace {

// RFC 5652 5.3: the subject key identifier extension; where there is none, the common method of
// RFC 5280 4.2.1.2.
bool hasKeyId(const VantrelX509& certificate, ByteView keyId) {
    ByteView own;
    if (certificate.subjectKeyId(own)) {
        return sameBytes(own, keyId);
    }
    std::uint8_t digest[crypto::kMaxDigestSize];
    return sameBytes(crypto::hashBytes(kHashSha1, certificate.subjectPublicKeyBits(), digest),
                     keyId);
}

// Serial numbers are compared as they are encoded. DER has one form for a number, and a certificate
// that breaks that rule is named by signers with the same bytes.
bool isMeant(const VantrelX509& certificate, const SignerInfo& signer) {
    if (!signer.keyIdentifier.empty()) {
        return hasKeyId(certificate, signer.keyIdentifier);
    }
    return sameBytes(certificate.serialNumber(), signer.serialNumber) &&
           sameName(certificate.issuer(), signer.issuer);
}

bool isSameCertificate(const VantrelX509& a, const VantrelX509& b) noexcept {
    return sameBytes(a.certificate(), b.certificate());
}

// The key identifier of a certificate's issuer (RFC 5280 4.2.1.1). False when it names none; it is
// a hint and no proof, so a malformed one counts as none.
bool authorityKeyId(const VantrelX509& certificate, ByteView& keyId) noexcept {
    ByteView value;
    bool critical = false;
    if (!certificate.extension(oid::kAuthorityKeyId, value, critical)) {
        return false;
    }
    // AuthorityKeyIdentifier ::= SEQUENCE { keyIdentifier [0] KeyIdentifier OPTIONAL, ... }
    DerReader reader(value);
    DerReader fields;
    return reader.enter(Tag::Sequence, fields) && fields.read(asn1::contextPrimitive(0), keyId) &&
           !keyId.empty();
}

// A message may carry one certificate a hundred times over, and each candidate costs a
// verification.
void addOnce(const VantrelX509* certificate, std::vector<const VantrelX509*>& out) {
    const auto same = [certificate](const VantrelX509* other) {
        return isSameCertificate(*certificate, *other);
    };
    if (certificate != nullptr && std::none_of(out.begin(), out.end(), same)) {
        out.push_back(certificate);
    }
}

} // namespace

CertificateSource::CertificateSource(std::span<const ByteView> certificates, SystemCerts* store)
    : m_store(store) {
    // In the order of the message. What cannot be parsed is no fault of the message: sets of
    // certificates are put together by whoever passes them on.
    LogNull quiet;
    for (const ByteView der : certificates) {
        m_carried.emplace_back();
        if (!m_carried.back().loadX509Der(DataBuffer(der), quiet)) {
            m_carried.pop_back();
        }
    }
}

std::vector<const VantrelX509*> CertificateSource::signerCandidates(
    const SignerInfo& signer) const {
    std::vector<const VantrelX509*> found;
    for (const VantrelX509& certificate : m_carried) {
        if (isMeant(certificate, signer)) {
            addOnce(&certificate, found);
        }
    }
    addOnce(fromStore(signer), found);
    return found;
}

void CertificateSource::collectPathCertificates(const VantrelX509& certificate,
                                                std::vector<const VantrelX509*>& carried,
                                                std::vector<const VantrelX509*>& anchors) const {
    if (m_store == nullptr) {
        return;
    }
    addAnchors(certificate, anchors);
    for (const VantrelX509& one : m_carried) {
        carried.push_back(&one);
        addAnchors(one, anchors);
    }
}

// The store answers with one certificate a question, and may hold several of one name, number or
// key; so it is asked by each. What does not belong to the path is passed over there.
void CertificateSource::addAnchors(const VantrelX509& certificate,
                                   std::vector<const VantrelX509*>& anchors) const {
    ByteView keyId;
    std::vector<const VantrelX509*> own = {
        byIssuerAndSerial(certificate.issuer(), certificate.serialNumber()),
        bySubject(certificate, true)};
    if (certificate.subjectKeyId(keyId)) {
        own.push_back(byKeyId(keyId));
    }
    for (const VantrelX509* const found : own) {
        if (found != nullptr && isSameCertificate(*found, certificate)) {
            addOnce(found, anchors);
        }
    }
    if (authorityKeyId(certificate, keyId)) {
        // A key identifier is any bytes that the issuer chose; the name must agree.
        const VantrelX509* const named = byKeyId(keyId);
        if (named != nullptr && sameName(named->subject(), certificate.issuer())) {
            addOnce(named, anchors);
        }
    }
    addOnce(bySubject(certificate, false), anchors);
}

const VantrelX509* CertificateSource::fromStore(const SignerInfo& signer) const {
    const VantrelX509* const found = signer.keyIdentifier.empty()
                                         ? byIssuerAndSerial(signer.issuer, signer.serialNumber)
                                         : byKeyId(signer.keyIdentifier);
    return found != nullptr && isMeant(*found, signer) ? found : nullptr;
}

const VantrelX509* CertificateSource::byKeyId(ByteView keyId) const {
    StringBuffer base64;
    if (m_store == nullptr || !text::encode(keyId, text::Encoding::Base64, base64)) {
        return nullptr;
    }
    LogNull quiet;
    CertRecord* const record = m_store->findBySubjectKeyId(base64, quiet);
    return record == nullptr ? nullptr : record->getX509Ptr();
}

const VantrelX509* CertificateSource::bySubject(const VantrelX509& named, bool subject) const {
    StringBuffer text;
    if (m_store == nullptr ||
        !DistinguishedName::fromDer(subject ? named.subject() : named.issuer(), true, text)) {
        return nullptr;
    }
    LogNull quiet;
    // `values` only receives what the store's interface also tells.
    XString dn;
    XString values;
    dn.setFromSbUtf8(text);
    const VantrelX509* const found = m_store->findBySubjectDN_x509(values, dn, false, quiet);
    const ByteView wanted = subject ? named.subject() : named.issuer();
    return found != nullptr && sameName(found->subject(), wanted) ? found : nullptr;
}

// The store's index is by the issuer's common name and the number as text, which is less than the
// whole name; callers compare that.
const VantrelX509* CertificateSource::byIssuerAndSerial(ByteView issuer, ByteView serial) const {
    std::string commonName;
    std::string number;
    if (m_store == nullptr || !x509::appendCommonName(issuer, commonName)) {
        return nullptr;
    }
    x509::appendSerialText(serial, number);
    LogNull quiet;
    return m_store->findX509(number.c_str(), commonName.c_str(), nullptr, quiet);
}

} // namespace vantrel::cms
