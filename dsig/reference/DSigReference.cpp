// SPDX-License-Identifier: MIT
#include "dsig/reference/DSigReference.h"

#include "dsig/document/standards.h"
#include "dsig/transform/chunk_removal.h"
#include "dsig/transform/ebxml_fragments.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/LogBase.h"
#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/tree/ClsXml.h"
#include "foundation/xml/tree/element_text.h"
#include "foundation/xml/tree/tag_pattern.h"

#include <algorithm>
#include <new>
#include <string>

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
    {"md5", kHashMd5},       {"ripemd160", kHashRipemd160}, {"sha1", kHashSha1},
};

// Known without a search.
constexpr std::string_view kUsualDigest = "http://www.w3.org/2001/04/xmlenc#sha256";

void putText(StringBuffer& out, std::string_view text) {
    if (!out.setView(text)) {
        throw std::bad_alloc();
    }
}

} // namespace

bool DSigReference::parseReference(const ClsXml& referenceElement, LogBase& log) {
    dsig::ReferenceForm unknown;
    parseReference(*referenceElement.document(), referenceElement.elementId(), unknown, log);
    return true;
}

void DSigReference::parseReference(const xml::XmlDocument& document, xml::ElementId element,
                                   dsig::ReferenceForm& last, LogBase& log) {
    const LogContextExitor context(log, "parseReference");
    m_element = element;
    std::uint32_t tagEnd = 0;
    readStartTag(document, tagEnd);
    if (log.verbose()) {
        log.LogDataSb("Id", m_id);
        log.LogDataSb("URI", m_uri);
    }
    if (!takeForm(document, tagEnd, last)) {
        readChildren(document, tagEnd, last);
    }
    if (log.verbose()) {
        log.LogDataSb("DigestMethod", m_digestMethod);
        log.LogDataSb("DigestValue", m_digestValue);
    }
}

// An empty URI is the document; one that is not there is left to the application by XML Signature
// 1.1, 4.4.3.1. Both are digested alike, and logs tell them apart.
void DSigReference::readStartTag(const xml::XmlDocument& document, std::uint32_t& end) {
    bool hasId = false;
    bool hasUri = false;
    std::string value;
    xml::StartTagReader tag(document.text(), document.element(m_element).start);
    for (xml::Attribute attribute; tag.next(attribute);) {
        const bool isId = attribute.name == "Id";
        if (isId || attribute.name == "URI") {
            putText(isId ? m_id : m_uri,
                    xml::detail::normalisedValue(document, m_element, attribute, value));
            (isId ? hasId : hasUri) = true;
        }
    }
    end = tag.end();
    if (document.hasAttributeDefaults()) {
        hasId = hasId || xml::attributeValue(document, m_element, xml::NamePattern("Id"), m_id);
        hasUri = hasUri || xml::attributeValue(document, m_element, xml::NamePattern("URI"), m_uri);
    }
    m_uriOmitted = hasUri ? 0 : 1;
}

// True when the element reads like the one that `form` is of, but for its start tag and its digest.
bool DSigReference::takeForm(const xml::XmlDocument& document, std::uint32_t tagEnd,
                             const dsig::ReferenceForm& form) {
    const std::string_view rest = document.text({tagEnd, document.element(m_element).end - tagEnd});
    const std::size_t known = form.head.size() + form.tail.size();
    if (form.head.empty() || rest.size() < known || !rest.starts_with(form.head) ||
        !rest.ends_with(form.tail)) {
        return false;
    }
    const std::string_view digest = rest.substr(form.head.size(), rest.size() - known);
    // Markup in it could be a digest method of its own; a reference stands for something else.
    if (digest.find('<') != digest.npos || digest.find('&') != digest.npos) {
        return false;
    }
    m_transforms = form.transforms;
    m_digestMethod = form.digest.method;
    m_named = form.digest;
    putDigest(digest);
    return true;
}

void DSigReference::readChildren(const xml::XmlDocument& document, std::uint32_t tagEnd,
                                 dsig::ReferenceForm& form) {
    const auto child = [&](const char* name) {
        return xml::findNthChild(document, m_element, xml::NamePattern(name), 0);
    };
    form.head = {};
    std::string text;
    m_transforms.clear();
    const xml::ElementId transforms = child("*:Transforms");
    if (transforms != xml::kNoElement) {
        putText(m_transforms, xml::elementXml(document, transforms, text));
    }
    const xml::ElementId method = child("*:DigestMethod");
    if (method != xml::kNoElement) {
        static_cast<void>(
            xml::attributeValue(document, method, xml::NamePattern("Algorithm"), m_digestMethod));
    }
    const xml::ElementId value = child("*:DigestValue");
    if (value == xml::kNoElement) {
        return;
    }
    std::string_view digest;
    if (!xml::plainElementContent(document, value, digest)) {
        text.clear();
        xml::appendElementContent(document, value, text);
        putDigest(text);
        return;
    }
    putDigest(digest);
    // An empty one may be an empty-element tag, which another digest cannot stand in. What a
    // document type adds to a tag does not stand in the text that is compared.
    if (digest.empty() || document.hasAttributeTypes()) {
        return;
    }
    static_cast<void>(namedHash());
    const std::string_view rest = document.text({tagEnd, document.element(m_element).end - tagEnd});
    const auto digestStart = static_cast<std::size_t>(digest.data() - rest.data());
    form = {rest.substr(0, digestStart), rest.substr(digestStart + digest.size()), m_transforms,
            m_named};
}

// The value is compared as text, and signers break base64 lines as they like.
void DSigReference::putDigest(std::string_view text) {
    putText(m_digestValue, text);
    unsigned char lowest = 0xFF;
    for (const char c : text) {
        lowest = std::min(lowest, static_cast<unsigned char>(c));
    }
    if (lowest <= ' ') {
        m_digestValue.removeCharsOf("\n\r\t ");
    }
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

int DSigReference::namedHash() const {
    if (!m_digestMethod.sharesStorageWith(m_named.method)) {
        m_named = {m_digestMethod, kHashNone};
        if (m_digestMethod.view() == kUsualDigest) {
            m_named.hashAlg = kHashSha256;
            return m_named.hashAlg;
        }
        for (const DigestName& known : kDigestNames) {
            if (m_digestMethod.containsSubstringNoCase(known.name)) {
                m_named.hashAlg = known.hashAlg;
                break;
            }
        }
    }
    return m_named.hashAlg;
}

int DSigReference::getHashAlg() const {
    const int named = namedHash();
    if (named != kHashNone && named != kHashSha1) {
        return named;
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
    return namedHash() != kHashNone || getHashAlg() != kHashSha1;
}

void DSigReference::removeEbXmlFragments(StringBuffer& xml, LogBase& /*log*/) {
    dsig::cutOut(xml, dsig::findEbXmlFragments(xml.view(), {}).chunks);
}

} // namespace vantrel
