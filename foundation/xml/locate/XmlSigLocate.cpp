// SPDX-License-Identifier: MIT
#include "foundation/xml/locate/XmlSigLocate.h"

#include "foundation/xml/locate/structure.h"
#include "foundation/xml/scan/content_reader.h"
#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/scan/values.h"

#include <algorithm>
#include <new>
#include <string>

namespace vantrel {

using xml::ElementId;
using xml::kNoElement;
using xml::SignatureElement;
using xml::TextRange;
using xml::XmlDocument;

namespace {

// The value of the attribute `Id` of an element equals `id`.
bool hasId(const XmlDocument& document, ElementId element, std::string_view id) {
    xml::StartTagReader tag(document.text(), document.element(element).start);
    for (xml::Attribute attribute; tag.next(attribute);) {
        if (attribute.name != "Id") {
            continue;
        }
        const xml::DocumentType* const types = document.documentType();
        const auto type = types != nullptr ? types->attributeType(tag.name(), attribute.name)
                                           : xml::AttributeType::Cdata;
        if (attribute.plain && type == xml::AttributeType::Cdata) {
            return attribute.raw == id;
        }
        std::string value;
        xml::appendAttributeValue(attribute.raw, type, value);
        return value == id;
    }
    return false;
}

void appendWithoutSpace(std::string_view text, std::string& out) {
    while (!text.empty()) {
        const auto space = std::find_if(text.begin(), text.end(), xml::isSpace);
        const auto run = static_cast<std::size_t>(space - text.begin());
        out.append(text, 0, run);
        text.remove_prefix(std::min(run + 1, text.size()));
    }
}

// The element's own character data without its white space.
std::string contentWithoutSpace(const XmlDocument& document, ElementId element) {
    const xml::ElementRecord& record = document.element(element);
    xml::StartTagReader tag(document.text(), record.start);
    for (xml::Attribute attribute; tag.next(attribute);) {}
    std::string content;
    std::string packed;
    if (tag.selfClosing()) {
        return packed;
    }
    xml::ContentReader reader(document.text(), tag.end(), record.end);
    xml::ContentPiece piece;
    ElementId child = document.firstChild(element);
    for (auto kind = reader.next(piece); kind != xml::ContentKind::End; kind = reader.next(piece)) {
        if (kind == xml::ContentKind::StartTag) {
            reader.skipTo(document.element(child).end);
            child = document.nextChild(element, child);
        } else if (kind == xml::ContentKind::Text) {
            xml::appendText(piece.body, content);
        } else if (kind == xml::ContentKind::Cdata) {
            xml::appendCdata(piece.body, content);
        }
    }
    appendWithoutSpace(content, packed);
    return packed;
}

// Whether the element's own character data without its white space is `packed`, which is not empty.
bool holdsPacked(const XmlDocument& document, ElementId element, std::string_view packed) {
    const xml::ElementRecord& record = document.element(element);
    const std::string_view text = document.text();
    std::size_t at = record.start + document.qualifiedName(element).size() + 1;
    if (text[at] != '>') {
        return contentWithoutSpace(document, element) == packed;
    }
    // Mostly it is one run of text between plain tags, which end with the first '<', and without
    // white space.
    ++at;
    const bool isPlain = packed.find('<') == packed.npos && packed.find('&') == packed.npos;
    if (isPlain && text.substr(at).starts_with(packed) &&
        text.substr(at + packed.size()).starts_with("</")) {
        return true;
    }
    std::size_t matched = 0;
    for (; text[at] != '<' && text[at] != '&'; ++at) {
        if (xml::isSpace(text[at])) {
            continue;
        }
        if (matched == packed.size() || packed[matched] != text[at]) {
            return false;
        }
        ++matched;
    }
    return text.compare(at, 2, "</") == 0 ? matched == packed.size()
                                          : contentWithoutSpace(document, element) == packed;
}

bool hasReferenceDigest(const XmlDocument& document, const SignatureElement& signature,
                        std::string_view digest) {
    if (signature.signedInfo == kNoElement) {
        return false;
    }
    for (ElementId child = document.firstChild(signature.signedInfo); child != kNoElement;
         child = document.nextChild(signature.signedInfo, child)) {
        if (document.localName(child) != "Reference") {
            continue;
        }
        const ElementId value = document.firstChildNamed(child, "DigestValue");
        if (value != kNoElement && holdsPacked(document, value, digest)) {
            return true;
        }
    }
    return false;
}

// Where the element starts in the source text; 0 when there is none.
std::uint32_t locationOf(const XmlDocument& document, ElementId element) {
    TextRange range;
    return element != kNoElement && document.sourceRange(element, range) ? range.start : 0;
}

std::uint32_t lengthOf(const XmlDocument& document, ElementId element) {
    TextRange range;
    return element != kNoElement && document.sourceRange(element, range) ? range.length : 0;
}

} // namespace

bool XmlSigLocate::FindXmlSigById(const StringBuffer& id, const StringBuffer& text, _vlXmlDtd& dtd,
                                  LogBase& log) {
    const std::string_view wanted = id.view();
    return locate(text, dtd, log,
                  [wanted](const XmlDocument& document, const SignatureElement& signature) {
                      return hasId(document, signature.element, wanted);
                  });
}

bool XmlSigLocate::FindXmlSigByRefDigest(const StringBuffer& digestValue, const StringBuffer& text,
                                         _vlXmlDtd& dtd, LogBase& log) {
    std::string packed;
    std::string_view wanted = digestValue.view();
    // Who has read the digest from a document has left it out already.
    unsigned char lowest = 0xFF; // of all octets, which are looked at many at a time
    for (const char c : wanted) {
        lowest = std::min(lowest, static_cast<unsigned char>(c));
    }
    if (lowest <= ' ') {
        try {
            appendWithoutSpace(wanted, packed);
        } catch (const std::bad_alloc&) {
            return false;
        }
        wanted = packed;
    }
    if (wanted.empty()) {
        return false;
    }
    return locate(text, dtd, log,
                  [wanted](const XmlDocument& document, const SignatureElement& signature) {
                      return hasReferenceDigest(document, signature, wanted);
                  });
}

// All signatures, or the selected one alone. They stand in the order of their elements.
std::span<const SignatureElement> XmlSigLocate::candidates(const XmlDocument& document,
                                                           bool pinned) const {
    const std::span<const SignatureElement> all = document.signatures();
    if (!pinned) {
        return all;
    }
    const auto found = std::lower_bound(
        all.begin(), all.end(), m_selectedElement,
        [](const SignatureElement& one, ElementId element) { return one.element < element; });
    const bool isThere = found != all.end() && found->element == m_selectedElement;
    return all.subspan(static_cast<std::size_t>(found - all.begin()), isThere ? 1 : 0);
}

template <class Matches>
bool XmlSigLocate::locate(const StringBuffer& text, _vlXmlDtd& dtd, LogBase& log, Matches matches) {
    try {
        forget();
        auto document = dtd.documentOf(text);
        const bool pinned = document != nullptr && m_selectedElement != kNoElement;
        if (document == nullptr) {
            document = xml::parseLeniently(text, log);
        }
        if (document == nullptr) {
            return false;
        }
        if (m_selectedElement == kNoElement) {
            dtd.setDocument(document);
        }
        for (const SignatureElement& signature : candidates(*document, pinned)) {
            if (matches(*document, signature)) {
                return setExtent(*document, signature, log);
            }
        }
        return false;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool XmlSigLocate::setExtent(const XmlDocument& document, const SignatureElement& signature,
                             LogBase& log) {
    if (signature.signedInfoCount > 1) {
        log.LogError("The Signature has more than one SignedInfo.");
        return false;
    }
    if (signature.signedInfoCount == 0) {
        log.LogError("The Signature has no SignedInfo.");
        return false;
    }
    TextRange whole;
    TextRange info;
    if (!document.sourceRange(signature.element, whole) ||
        !document.sourceRange(signature.signedInfo, info)) {
        log.LogError("The Signature comes from an entity.");
        return false;
    }
    m_sigStart = whole.start;
    m_sigLength = whole.length;
    m_signedInfoStart = info.start;
    m_signedInfoLength = info.length;
    if (m_recordLocations) {
        recordParts(document, signature.element);
    }
    return true;
}

void XmlSigLocate::recordParts(const XmlDocument& document, ElementId signature) {
    ElementId lastObject = kNoElement;
    ElementId keyInfo = kNoElement;
    ElementId value = kNoElement;
    for (ElementId child = document.firstChild(signature); child != kNoElement;
         child = document.nextChild(signature, child)) {
        const std::string_view name = document.localName(child);
        if (name == "Object") {
            lastObject = child;
            recordObject(document, child);
        } else if (name == "KeyInfo" && keyInfo == kNoElement) {
            keyInfo = child;
        } else if (name == "SignatureValue" && value == kNoElement) {
            value = child;
        }
    }
    m_signatureValueLoc = locationOf(document, value);
    const ElementId before = lastObject != kNoElement ? lastObject
                             : keyInfo != kNoElement  ? keyInfo
                                                      : value;
    m_objectInsertLoc = locationOf(document, before);
    m_objectInsertLen = lengthOf(document, before);
}

// Only the properties of this signature: those of a counter-signature lie deeper.
void XmlSigLocate::recordObject(const XmlDocument& document, ElementId object) {
    const ElementId qualifying = document.firstChildNamed(object, "QualifyingProperties");
    if (qualifying == kNoElement) {
        if (m_objectLoc == 0) {
            m_objectLoc = locationOf(document, object);
        }
        return;
    }
    if (m_qualifyingPropertiesLoc != 0) {
        return;
    }
    m_qualifyingPropertiesLoc = locationOf(document, qualifying);
    const ElementId isSigned = document.firstChildNamed(qualifying, "SignedProperties");
    m_signedPropertiesLoc = locationOf(document, isSigned);
    m_signedPropertiesLen = lengthOf(document, isSigned);
    const ElementId isUnsigned = document.firstChildNamed(qualifying, "UnsignedProperties");
    m_unsignedPropertiesLoc = locationOf(document, isUnsigned);
    if (isUnsigned != kNoElement) {
        m_unsignedSignaturePropertiesLoc = locationOf(
            document, document.firstChildNamed(isUnsigned, "UnsignedSignatureProperties"));
    }
}

void XmlSigLocate::forget() noexcept {
    m_sigStart = m_sigLength = m_signedInfoStart = m_signedInfoLength = 0;
    m_signatureValueLoc = m_qualifyingPropertiesLoc = 0;
    m_unsignedPropertiesLoc = m_unsignedSignaturePropertiesLoc = 0;
    m_signedPropertiesLoc = m_signedPropertiesLen = 0;
    m_objectLoc = m_objectInsertLoc = m_objectInsertLen = 0;
}

} // namespace vantrel
