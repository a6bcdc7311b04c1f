// SPDX-License-Identifier: MIT
#include "dsig/trust/material.h"

#include "dsig/keys/document_certificates.h"
#include "dsig/trust/xades_parts.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/cms/Pkcs7SignedData.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/SystemCerts.h"

#include <utility>

namespace vantrel::dsig {

namespace {

constexpr std::uint64_t kMaterialOctetsPerStep = 64;
constexpr std::uint64_t kElementsPerStep = 64;
// Far above any chain in use; as many as a path of certificates may have elsewhere.
constexpr std::size_t kMaxTokenCertificates = 100;

Ref<ClsXml> handleOnElement(const Document& document, xml::ElementId element) {
    return Ref<ClsXml>::adopt(ClsXml::onElement(document.structure, element));
}

} // namespace

Material::Material(const SignatureReport& report, Document* document, SystemCerts* store) {
    for (const KeyReport& key : report.keys) {
        add(key.certificate);
    }
    add(report.signer.certificate);
    if (report.stamp != nullptr) {
        addStamp(*report.stamp);
    }
    for (std::size_t i = 0; store != nullptr && store->certificateAt(i) != nullptr; ++i) {
        m_certificates.push_back(store->certificateAt(i));
    }
    if (document != nullptr && report.signatureElement != xml::kNoElement) {
        addCarried(report, *document);
    }
}

// A copy shares the certificate's octets.
void Material::add(const VantrelX509& certificate) {
    if (certificate.isLoaded()) {
        m_certificates.push_back(&m_owned.emplace_back(certificate));
    }
}

// What is no certificate is passed over.
void Material::addCertificate(ByteView der) {
    LogNull discard;
    VantrelX509 certificate;
    static_cast<void>(certificate.loadX509Der(DataBuffer(der), discard));
    add(certificate);
}

void Material::addStamp(const StampReport& stamp) {
    add(stamp.authority);
    addMessage(stamp.token);
}

// Certificates, lists and answers of a CMS message; nothing of what is none.
void Material::addMessage(const DataBuffer& message) {
    LogNull discard;
    Pkcs7SignedData data;
    bool otherContentType = false;
    if (!data.loadPkcs7Der(message, nullptr, 2, otherContentType, nullptr, discard)) {
        return;
    }
    for (const VantrelX509& certificate : data.carriedCertificates()) {
        add(certificate);
    }
    cms::CarriedEvidence evidence = data.carriedEvidence();
    for (const DataBuffer& der : evidence.certificates) {
        addCertificate(der.view());
    }
    for (DataBuffer& crl : evidence.crls) {
        m_crls.push_back(m_octets.emplace_back(std::move(crl)).view());
    }
    for (DataBuffer& answer : evidence.ocspResponses) {
        m_answers.push_back(m_octets.emplace_back(std::move(answer)).view());
    }
    m_complete = m_complete && evidence.complete;
}

void Material::addCarried(const SignatureReport& report, Document& document) {
    const xml::ElementId signature = report.signatureElement;
    const xml::ElementId elements = document.structure->subtreeEnd(signature) - signature;
    if (!charge(document, elements / kElementsPerStep)) {
        return;
    }
    const Evidence evidence = findEvidence(*document.structure, signature);
    for (const xml::ElementId element : evidence.certificates) {
        const LogNull log;
        StringBuffer base64;
        if (!take(document, element, base64)) {
            return;
        }
        add(certificateOfText(document.certificates, base64, log)->certificate);
    }
    // The first alone, which is the one that keys are taken from.
    if (!evidence.tokenReferences.empty()) {
        addToken(document, evidence.tokenReferences.front());
    }
    addOctets(document, evidence.crls, m_crls);
    addOctets(document, evidence.ocspResponses, m_answers);
}

// WS-Security, X.509 Certificate Token Profile: the token that a Reference leads to, by the same
// way as for keys (the first of the document where none has the Id).
void Material::addToken(Document& document, xml::ElementId reference) {
    StringBuffer uri;
    static_cast<void>(handleOnElement(document, reference)->getAttrValue("URI", uri));
    if (!uri.beginsWith("#")) {
        return;
    }
    const TokenIndex& tokens = document.tokens();
    xml::ElementId token = tokens.withId(uri.view().substr(1));
    if (token == xml::kNoElement) {
        token = tokens.first();
    }
    StringBuffer base64;
    DataBuffer content;
    if (token != xml::kNoElement && take(document, token, base64) &&
        text::decodeBase64(base64.view(), content)) {
        addCertificatesOf(content);
    }
}

// A token is one certificate, which is among the keys already, a path of them (ITU-T X.509,
// PkiPath ::= SEQUENCE OF Certificate), or a CMS message that carries them. Which of them shows
// from the first element inside: signers do not always name the type that they use.
void Material::addCertificatesOf(const DataBuffer& token) {
    asn1::DerReader reader(token.view());
    asn1::DerReader list;
    if (!reader.enter(asn1::Tag::Sequence, list) || !list.nextIs(asn1::Tag::Sequence)) {
        addMessage(token); // begins with an identifier, or is BER
        return;
    }
    ByteView whole;
    for (std::size_t count = 0; list.readWhole(asn1::Tag::Sequence, whole); ++count) {
        if (count == kMaxTokenCertificates) {
            m_complete = false;
            return;
        }
        addCertificate(whole);
    }
}

// What is no base64 is no evidence.
void Material::addOctets(Document& document, const std::vector<xml::ElementId>& elements,
                         std::vector<ByteView>& out) {
    for (const xml::ElementId element : elements) {
        StringBuffer base64;
        DataBuffer der;
        if (!take(document, element, base64)) {
            return;
        }
        if (text::decodeBase64(base64.view(), der) && !der.isEmpty()) {
            out.push_back(m_octets.emplace_back(std::move(der)).view());
        }
    }
}

bool Material::take(Document& document, xml::ElementId element, StringBuffer& text) {
    handleOnElement(document, element)->getContentSb(text);
    return charge(document, text.getSize() / kMaterialOctetsPerStep);
}

bool Material::charge(Document& document, std::uint64_t work) {
    document.trustWork += work + 1;
    m_complete = m_complete && document.trustWork <= kMostTrustWork;
    return m_complete;
}

} // namespace vantrel::dsig
