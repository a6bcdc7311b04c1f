// SPDX-License-Identifier: MIT
#include "foundation/xml/locate/XmlSigRemoval.h"

#include "foundation/xml/locate/structure.h"

#include <new>

namespace vantrel {

using xml::SignatureElement;
using xml::SignatureKind;
using xml::TextRange;
using xml::XmlDocument;

namespace {

bool isRemoved(const SignatureElement& signature) noexcept {
    return signature.kind == SignatureKind::XmlDsig ||
           signature.kind == SignatureKind::UndeclaredPrefix;
}

// The outermost signatures, as ranges of text(), or of the source text. False when one of them has
// no place there.
bool collect(const XmlDocument& document, bool inSource, std::vector<TextRange>& ranges) {
    std::uint32_t reached = 0; // element behind the last outermost signature
    for (const SignatureElement& signature : document.signatures()) {
        if (!isRemoved(signature) || signature.element < reached) {
            continue;
        }
        const xml::ElementRecord& record = document.element(signature.element);
        TextRange range{record.start, record.end - record.start};
        if (inSource && !document.sourceRange(signature.element, range)) {
            return false;
        }
        ranges.push_back(range);
        reached = document.subtreeEnd(signature.element);
    }
    return true;
}

bool copyWithout(std::string_view text, const std::vector<TextRange>& ranges, StringBuffer& out) {
    std::uint32_t at = 0;
    for (const TextRange range : ranges) {
        if (!out.appendView(text.substr(at, range.start - at))) {
            return false;
        }
        at = range.end();
    }
    return out.appendView(text.substr(at));
}

} // namespace

std::vector<TextRange> XmlSigRemoval::signatureRanges(const XmlDocument& document) {
    std::vector<TextRange> ranges;
    static_cast<void>(collect(document, false, ranges));
    return ranges;
}

bool XmlSigRemoval::removeSignatures(const char* xml, _vlXmlDtd& dtd, StringBuffer& out,
                                     LogBase& log) {
    StringBuffer text;
    return text.setString(xml) && removeSignatures(text, dtd, out, log);
}

bool XmlSigRemoval::removeSignatures(const StringBuffer& xml, _vlXmlDtd& dtd, StringBuffer& out,
                                     LogBase& log) {
    m_removed.clear();
    try {
        auto document = dtd.documentOf(xml);
        if (document == nullptr) {
            document = xml::parseLeniently(xml, log);
        }
        if (document == nullptr) {
            return false;
        }
        dtd.setDocument(document);
        std::vector<TextRange> ranges;
        const bool inSource = collect(*document, true, ranges);
        if (!inSource) {
            ranges.clear();
            static_cast<void>(collect(*document, false, ranges));
        }
        if (ranges.empty()) {
            out = xml;
            return true;
        }
        StringBuffer rest;
        if (!copyWithout(inSource ? xml.view() : document->text(), ranges, rest)) {
            return false;
        }
        out.takeSb(rest);
        if (inSource) {
            m_removed.swap(ranges);
        }
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace vantrel
