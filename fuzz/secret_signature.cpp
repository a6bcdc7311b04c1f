// SPDX-License-Identifier: MIT
#include "fuzz/secret_signature.h"

#include "foundation/base/ClsBinData.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/mac/Hmac.h"
#include "foundation/text/LogBase.h"

#include <algorithm>
#include <functional>

namespace vantrel::fuzz {

bool load(ClsXmlDSig& verifier, std::string_view document, int signature) {
    ClsBinData bytes;
    XString secret{std::string(kSecret)};
    XString encoding("ascii");
    verifier.SetHmacKey(secret, encoding);
    bytes.data().append(asBytes(document));
    const bool isLoaded =
        verifier.LoadSignatureBd(bytes) && signature < verifier.get_NumSignatures();
    verifier.put_Selector(signature);
    return isLoaded;
}

SignatureText::SignatureText(const std::string& text, int index) {
    xml::ParseFailure why;
    m_document = xml::XmlDocument::parse(StringBuffer(text), {}, why);
    if (m_document != nullptr &&
        static_cast<std::size_t>(index) < m_document->signatures().size()) {
        const xml::SignatureElement& found =
            m_document->signatures()[static_cast<std::size_t>(index)];
        m_signature = found.element;
        m_signedInfo = found.signedInfo;
    }
}

xml::TextRange SignatureText::extent() const {
    xml::TextRange range{};
    return isThere() && m_document->sourceRange(m_signature, range) ? range : xml::TextRange{};
}

bool SignatureText::contentOf(xml::ElementId element, xml::TextRange& range) const {
    if (element == xml::kNoElement || !m_document->sourceRange(element, range)) {
        return false;
    }
    const std::string_view text = m_document->sourceText().view();
    const std::string_view whole = text.substr(range.start, range.length);
    const std::size_t start = whole.find('>') + 1;
    const std::size_t end = whole.rfind("</");
    if (end == std::string_view::npos || end < start) {
        return false;
    }
    range = xml::rangeOf(range.start + start, range.start + end);
    return true;
}

std::vector<xml::ElementId> SignatureText::digests() const {
    std::vector<xml::ElementId> found;
    const auto gather = [&](xml::ElementId parent) {
        for (xml::ElementId child = m_document->firstChild(parent); child != xml::kNoElement;
             child = m_document->nextChild(parent, child)) {
            if (m_document->localName(child) == "Reference") {
                found.push_back(m_document->firstChildNamed(child, "DigestValue"));
            }
        }
    };
    gather(m_signedInfo);
    for (xml::ElementId id = m_signature; id < m_document->subtreeEnd(m_signature); ++id) {
        if (m_document->localName(id) == "Manifest") {
            gather(id);
        }
    }
    return found;
}

bool SignatureText::method(xml::TextRange& range) const {
    const xml::ElementId element = m_document->firstChildNamed(m_signedInfo, "SignatureMethod");
    if (element == xml::kNoElement || !m_document->sourceRange(element, range)) {
        return false;
    }
    const std::string_view text = m_document->sourceText().view();
    const std::size_t name = text.find("Algorithm=", range.start);
    const std::size_t start = name + 11;
    if (name >= range.end() || start >= text.size()) {
        return false;
    }
    range = xml::rangeOf(start, std::min(text.find(text[start - 1], start), text.size()));
    return true;
}

bool putMethod(std::string& document, int signature) {
    constexpr const char* kMethod = "http://www.w3.org/2001/04/xmldsig-more#hmac-sha256";
    xml::TextRange range;
    const SignatureText text(document, signature);
    if (!text.isThere() || !text.method(range)) {
        return false;
    }
    document.replace(range.start, range.length, kMethod);
    return true;
}

void putDigests(std::string& document, int signature, std::span<const std::string> digests) {
    const SignatureText text(document, signature);
    if (!text.isThere()) {
        return;
    }
    const std::vector<xml::ElementId> places = text.digests();
    std::vector<std::pair<xml::TextRange, std::string_view>> edits;
    xml::TextRange range;
    for (std::size_t i = 0; i < std::min(places.size(), digests.size()); ++i) {
        if (!digests[i].empty() && text.contentOf(places[i], range)) {
            edits.emplace_back(range, digests[i]);
        }
    }
    // From the end on, so that those before it stay where they are.
    std::ranges::sort(edits, std::ranges::greater(),
                      [](const auto& edit) { return edit.first.start; });
    for (const auto& [place, digest] : edits) {
        document.replace(place.start, place.length, digest);
    }
}

bool putValue(std::string& document, int signature) {
    ClsXmlDSig signer;
    ClsBinData octets;
    DataBuffer code;
    StringBuffer base64;
    LogNull log;
    xml::TextRange range;
    const SignatureText text(document, signature);
    if (!text.isThere() || !text.contentOf(text.value(), range) ||
        !load(signer, document, signature) || !signer.SignedInfoOctets(octets) ||
        !Hmac::doHMAC(octets.data().getData2(), static_cast<int>(octets.data().getSize()),
                      kSecret.data(), static_cast<int>(kSecret.size()), kHashSha256, code, log) ||
        !code.encodeDB("base64", base64)) {
        return false;
    }
    document.replace(range.start, range.length, base64.view());
    return true;
}

} // namespace vantrel::fuzz
