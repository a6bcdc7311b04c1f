// SPDX-License-Identifier: MIT
#include "dsig/keys/key_info.h"

#include "dsig/document/child_elements.h"
#include "dsig/keys/document_certificates.h"
#include "dsig/keys/security_tokens.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <vector>

namespace vantrel::dsig {

Ref<ClsXml> keyInfoOf(const Selection& selection, int numSignatures, LogBase& log) {
    const LogContextExitor context(log, "getKeyInfo");
    log.LogDataLong("numSignatures", numSignatures);
    log.LogDataLong("selector", selection.index);
    if (selection.signature == nullptr) {
        return {};
    }
    const ClsXml& signature = *selection.signature;
    const xml::ElementId keyInfo =
        signature.document()->firstChildNamed(signature.elementId(), "KeyInfo");
    if (keyInfo == xml::kNoElement) {
        // KeyInfo is optional (XML Signature 4.5), so the line ends nothing: the caller's keys are
        // tried all the same.
        log.LogError("No KeyInfo child.");
        return {};
    }
    return handleOn(signature, keyInfo);
}

namespace {

// Nothing of what the walk asks for behind bare keys is there then.
bool hasKeyValuesOnly(const ClsXml& keyInfo) {
    const xml::XmlDocument& document = *keyInfo.document();
    xml::ElementId child = document.firstChild(keyInfo.elementId());
    while (child != xml::kNoElement && document.localName(child) == "KeyValue") {
        child = document.nextChild(keyInfo.elementId(), child);
    }
    return child == xml::kNoElement;
}

} // namespace

// The order is that in which the keys are tried, cheap ones first: a bare key, certificates that
// are there, those that have to be looked up, and at last a token elsewhere in the document.
bool KeyInfoWalk::run(const ClsXml& keyInfo) {
    // A KeyInfo with a malformed KeyValue is read no further: its certificates give no candidates.
    if (m_query.document == nullptr || !takeKeyValues(keyInfo)) {
        return false;
    }
    if (hasKeyValuesOnly(keyInfo)) {
        return true;
    }
    walkX509Data(keyInfo);
    const Ref<ClsXml> tokenReference =
        Ref<ClsXml>::adopt(keyInfo.getChildWithTagUtf8("*:SecurityTokenReference"));
    if (!tokenReference) {
        return true;
    }
    // A KeyIdentifier is asked twice: here whether it is or names a certificate, and at the end
    // whether it is a thumbprint, for which the tokens are needed.
    takeKeyIdentifier(*tokenReference);
    return walkTokenReference(*tokenReference) && takeThumbprint(*tokenReference);
}

// Names come behind the certificates that are there: one that is need not be looked up.
void KeyInfoWalk::walkX509Data(const ClsXml& keyInfo) {
    CertificateName name;
    if (const Ref<ClsXml> x509Data =
            Ref<ClsXml>::adopt(keyInfo.getChildWithTagUtf8("*:X509Data"))) {
        walkCertificates(*x509Data);
        if (readIssuerSerial(*x509Data, m_seen, name, m_log)) {
            takeNamed(name);
        }
    }
    // These two are looked for from the KeyInfo on. A name of a certificate that was taken leads to
    // no second look-up; an identifier always leads to one.
    if (readSubjectName(keyInfo, m_seen, name, m_log)) {
        takeNamed(name);
    }
    if (readSubjectKeyId(keyInfo, name)) {
        takeNamed(name);
    }
}

// Every certificate counts; one that fails is skipped.
void KeyInfoWalk::walkCertificates(const ClsXml& x509Data) {
    const std::vector<xml::ElementId> elements = x509Data.childrenWithTag("*:X509Certificate");
    m_log.LogDataLong(m_lines.certificateCount, static_cast<std::int64_t>(elements.size()));
    // Over the limit none is taken: a choice among them would be that of whoever ordered them.
    if (elements.size() > kMaxKeyInfoCertificates) {
        m_log.LogError("The X509Data has more than 1000 certificates.");
        return;
    }
    for (const xml::ElementId element : elements) {
        StringBuffer base64;
        handleOn(x509Data, element)->getContentSb(base64);
        // An empty element is no certificate, and no failure either.
        if (!base64.isEmpty()) {
            takeEmbedded(certificateOfText(document().certificates, base64, m_log));
        }
    }
}

// WS-Security, X.509 Certificate Token Profile: a token elsewhere in the document, by its Id. All
// look-ups go by the document's index, so that many signatures do not search it once each.
bool KeyInfoWalk::walkTokenReference(const ClsXml& tokenReference) {
    const Ref<ClsXml> reference =
        Ref<ClsXml>::adopt(tokenReference.getChildWithTagUtf8("*:Reference"));
    if (!reference) {
        return true;
    }
    noteReference();
    TokenReference target;
    if (!readTokenReference(*reference, target, m_log)) {
        return false;
    }
    logTokenSearch();
    m_log.LogDataSb("URI", target.uri);
    const TokenIndex& tokens = document().tokens();
    xml::ElementId token = tokens.withId(target.id());
    if (token == xml::kNoElement) {
        // Only the walk that collects keys has another one to offer.
        token = otherToken(tokens);
    }
    if (token == xml::kNoElement) {
        logNoToken(m_log);
        return false;
    }
    const CertificateCache::Entry certificate = certificateOf(token, target.isPkiPath());
    // A path that cannot be read fails with the lines that its decoding wrote.
    return useContent(*certificate, m_log) && takeToken(certificate);
}

// The entry is kept under the element, so a second signature does not read the token again.
CertificateCache::Entry KeyInfoWalk::certificateOf(xml::ElementId token, bool asPath) const {
    const Ref<ClsXml> element = Ref<ClsXml>::adopt(ClsXml::onElement(document().structure, token));
    return certificateOfToken(document().certificates, *element, asPath, m_log);
}

} // namespace vantrel::dsig
