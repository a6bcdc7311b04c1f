// SPDX-License-Identifier: MIT
#include "dsig/trust/signing_certificate.h"

#include "dsig/document/child_elements.h"
#include "dsig/keys/known_to_caller.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/trust/covered_targets.h"
#include "dsig/trust/xades_parts.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/text/encoders.h"

#include <algorithm>

namespace vantrel::dsig {

namespace {

// Digested in a step of kMostTrustWork.
constexpr std::size_t kCertificateOctetsPerStep = 512;

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

// Those that the signature covers.
std::vector<xml::ElementId> signedProperties(const JudgedSignature& it) {
    const xml::XmlDocument& structure = *it.document->structure;
    std::vector<xml::ElementId> covered;
    for (const xml::ElementId property :
         signingCertificates(structure, it.report.signatureElement)) {
        xml::TextRange range;
        if (structure.sourceRange(property, range) && isDigested(range, it)) {
            covered.push_back(property);
        }
    }
    return covered;
}

std::size_t countNames(const xml::XmlDocument& document,
                       const std::vector<xml::ElementId>& properties) {
    std::size_t count = 0;
    for (const xml::ElementId property : properties) {
        count += childrenNamed(document, property, "Cert").size();
    }
    return count;
}

// That of the report, then the candidates of the same key.
std::vector<const VantrelX509*> signersCertificates(const SignatureReport& report) {
    const VantrelX509& first = report.signer.certificate;
    std::vector<const VantrelX509*> all;
    if (!first.isLoaded()) {
        return all;
    }
    all.push_back(&first);
    for (const KeyReport& key : report.keys) {
        if (key.certificate.isLoaded() && haveSameKey(key.certificate, first)) {
            all.push_back(&key.certificate);
        }
    }
    return all;
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

SignedFor checkSigningCertificate(const JudgedSignature& it) {
    SignedFor found;
    if (it.document == nullptr || it.report.signatureElement == xml::kNoElement) {
        return found;
    }
    const std::vector<xml::ElementId> properties = signedProperties(it);
    if (properties.empty()) {
        return found;
    }
    found.result = SigningCertificate::Mismatch;
    const std::size_t names = countNames(*it.document->structure, properties);
    for (const VantrelX509* const certificate : signersCertificates(it.report)) {
        // Each certificate is digested for each name: a document that has too many of both has none
        // that matches.
        it.document->trustWork +=
            names * (1 + certificate->certificate().size() / kCertificateOctetsPerStep);
        if (it.document->trustWork > kMostTrustWork) {
            return found;
        }
        if (std::ranges::all_of(properties, [&](xml::ElementId property) {
                return namesCertificate(*it.document, property, *certificate);
            })) {
            return {SigningCertificate::Match, certificate};
        }
    }
    return found;
}

} // namespace vantrel::dsig
