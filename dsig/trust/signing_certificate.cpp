#include "dsig/trust/signing_certificate.h"

#include "dsig/document/child_elements.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/trust/covered_targets.h"
#include "dsig/trust/xades_parts.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/text/encoders.h"

#include <algorithm>

namespace vantrel::dsig {

namespace {

// CertDigest has the children of a Reference that say how and what was digested.
bool isDigestOf(const Document& document, xml::ElementId certDigest,
                const VantrelX509& certificate) {
    LogNull log;
    DSigReference digest;
    digest.parseReference(*Ref<ClsXml>::adopt(ClsXml::onElement(document.structure, certDigest)),
                          log);
    if (!digest.digestMethodIsKnown()) {
        digest.knowStandardDigests();
    }
    DataBuffer stored;
    DataBuffer computed;
    const ByteView der = certificate.certificate();
    // A hash that is not known must not pass for SHA-1 here.
    if (!digest.digestMethodIsKnown() || !text::decodeBase64(digest.m_digestValue.view(), stored) ||
        stored.isEmpty()) {
        return false;
    }
    _vlHash::doHash(der.data(), static_cast<std::uint32_t>(der.size()), digest.getHashAlg(),
                    computed);
    return computed.equals(stored);
}

// One of the certificates that the property lists is enough: the others may be its issuers.
bool namesCertificate(const Document& document, xml::ElementId property,
                      const VantrelX509& certificate) {
    return std::ranges::any_of(
        childrenNamed(*document.structure, property, "Cert"), [&](xml::ElementId cert) {
            return std::ranges::any_of(
                childrenNamed(*document.structure, cert, "CertDigest"),
                [&](xml::ElementId digest) { return isDigestOf(document, digest, certificate); });
        });
}

} // namespace

std::string_view signingCertificateWord(SigningCertificate value) noexcept {
    switch (value) {
    case SigningCertificate::Match: return "match";
    case SigningCertificate::Mismatch: return "mismatch";
    case SigningCertificate::Absent: break;
    }
    return "absent";
}

SigningCertificate checkSigningCertificate(const JudgedSignature& it) {
    SigningCertificate result = SigningCertificate::Absent;
    if (it.document == nullptr || it.report.signatureElement == xml::kNoElement) {
        return result;
    }
    const Document& document = *it.document;
    for (const xml::ElementId property :
         signingCertificates(*document.structure, it.report.signatureElement)) {
        xml::TextRange range;
        if (!document.structure->sourceRange(property, range) || !isDigested(range, it)) {
            continue;
        }
        const VantrelX509& certificate = it.report.signer.certificate;
        if (!certificate.isLoaded() || !namesCertificate(document, property, certificate)) {
            return SigningCertificate::Mismatch;
        }
        result = SigningCertificate::Match;
    }
    return result;
}

} // namespace vantrel::dsig
