// SPDX-License-Identifier: MIT
#include "dsig/reference/DSigReference.h"

#include "dsig/document/standards.h"
#include "dsig/transform/chunk_removal.h"
#include "dsig/transform/ebxml_fragments.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/LogBase.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

namespace {

struct DigestName {
    const char* name; // substring of the identifier, any case
    int hashAlg;
};

// The first name found decides, so the order matters. The identifiers come from several namespaces
// (XML Encryption, RFC 6931) and differ in front of the name.
constexpr DigestName kDigestNames[] = {
    {"sha256", kHashSha256}, {"sha512", kHashSha512},       {"sha384", kHashSha384},
    {"md5", kHashMd5},       {"ripemd160", kHashRipemd160},
};

} // namespace

bool DSigReference::parseReference(const ClsXml& referenceElement, LogBase& log) {
    const LogContextExitor context(log, "parseReference");
    m_element = referenceElement.elementId();
    referenceElement.getAttrValue("Id", m_id);
    // An empty URI is the document; one that is not there is left to the application by XML
    // Signature 1.1, 4.4.3.1. Both are digested alike, and logs tell them apart.
    m_uriOmitted = referenceElement.getAttrValue("URI", m_uri) ? 0 : 1;
    if (log.verbose()) {
        log.LogDataSb("Id", m_id);
        log.LogDataSb("URI", m_uri);
    }

    m_transforms.clear();
    if (const Ref<ClsXml> transforms =
            Ref<ClsXml>::adopt(referenceElement.getChildWithTagUtf8("*:Transforms"))) {
        transforms->getXml(false, m_transforms, log);
    }
    referenceElement.getChildAttrValue("*:DigestMethod", "Algorithm", m_digestMethod);
    referenceElement.getChildContentUtf8("*:DigestValue", m_digestValue, false);
    // The value is compared as text, and signers break base64 lines as they like.
    m_digestValue.removeCharsOf("\n\r\t ");
    if (log.verbose()) {
        log.LogDataSb("DigestMethod", m_digestMethod);
        log.LogDataSb("DigestValue", m_digestValue);
    }
    return true;
}

void DSigReference::logReference(LogBase& log) const {
    const LogContextExitor context(log, "logDsigReference");
    log.LogDataSb("id", m_id);
    log.LogDataSb("uri", m_uri);
    if (m_uri.isEmpty()) {
        log.LogDataLong("uriOmitted", m_uriOmitted);
    }
    log.LogDataSb("digestMethod", m_digestMethod);
    log.LogDataSb("digestValue", m_digestValue);
    log.LogDataSb("transforms", m_transforms);
}

int DSigReference::getHashAlg() const {
    for (const DigestName& known : kDigestNames) {
        if (m_digestMethod.containsSubstringNoCase(known.name)) {
            return known.hashAlg;
        }
    }
    return m_standardHash != kHashNone ? m_standardHash : kHashSha1;
}

void DSigReference::knowStandardDigests() {
    // Of 20 octets: in base64 with one sign of padding, or in hexadecimal.
    const bool maybeSha1 = m_digestValue.getSize() == 28 ||
                           (m_digestValue.getSize() == 40 && m_digestValue.isHexidecimal());
    m_standardHash = maybeSha1 ? kHashNone : dsig::standardDigest(m_digestMethod.view()).hashAlg;
}

bool DSigReference::digestMethodIsKnown() const {
    return getHashAlg() != kHashSha1 || m_digestMethod.containsSubstringNoCase("sha1");
}

void DSigReference::removeEbXmlFragments(StringBuffer& xml, LogBase& /*log*/) {
    dsig::cutOut(xml, dsig::findEbXmlFragments(xml.view(), {}).chunks);
}

} // namespace vantrel
