// SPDX-License-Identifier: MIT
// Canonicalization of arbitrary text. A canonical form must be well-formed and its own canonical
// form, and that of all nodes of the document; so must an element by its offset and by its number;
// and signatures left out while walking make no difference to signatures cut out of the text, nor
// does it whether the walk waits for the end of the text to be read.

#include "foundation/text/LogBase.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/canon/form_ahead.h"
#include "foundation/xml/canon/node_set_canon.h"
#include "foundation/xml/locate/XmlSigRemoval.h"
#include "foundation/xml/scan/document_scanner.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <vector>

using namespace vantrel;

namespace {

// The walk over the nodes shares nothing with the one over the text but the scanner.
bool isFormOfNodes(const StringBuffer& form, const StringBuffer& text, const XmlCanon& canon) {
    xml::ParseFailure why;
    const auto document = xml::XmlDocument::parse(text, {}, why);
    xml::WorkBudget budget(std::uint64_t{1} << 24);
    const auto index = document ? xml::NodeIndex::make(document, budget) : nullptr;
    if (index == nullptr) {
        return true;
    }
    const xml::NodeSetRequest request{canon.m_method == 2 ? xml::NodeSetMethod::Exclusive
                                                          : xml::NodeSetMethod::Inclusive,
                                      canon.m_withComments,
                                      {}};
    StringBuffer other;
    xml::StringBufferSink sink(other, XmlCanon::formLimit(text));
    return !xml::canonicalizeNodes(*index, xml::NodeBits(index->size(), true), request, budget,
                                   sink) ||
           other.view() == form.view();
}

// An element by its offset in a text that is known to be read alone or that may be part of another
// has the form that it has as an element of the structure.
void checkElement(const StringBuffer& text, std::uint8_t number, const XmlCanon& canon) {
    xml::ParseFailure why;
    const auto document = xml::XmlDocument::parse(text, {true}, why);
    if (document == nullptr || document->isExpanded()) {
        return;
    }
    LogNull log;
    XmlCanon byOffset;
    byOffset.m_method = canon.m_method;
    byOffset.m_withComments = canon.m_withComments;
    byOffset.m_signedDocFlag = canon.m_signedDocFlag;
    byOffset.m_fragmentText = true;
    const xml::ElementId element = 1 + number % document->elementCount();
    if (element == document->elementCount()) {
        return; // offset 0 would mean the whole text
    }
    StringBuffer part;
    StringBuffer wanted;
    xml::StringBufferSink sink(wanted, XmlCanon::formLimit(text));
    const bool isThere =
        byOffset.xmlCanonicalize(text, nullptr, document->element(element).start, part, log);
    if (isThere != canon.canonicalizeElement(*document, element, {}, sink, log) ||
        (isThere && (part.isEmpty() || part.view() != wanted.view()))) {
        std::abort();
    }
}

// The form that is written while the text is read, some octets at a time.
void checkAhead(const StringBuffer& text, std::uint8_t number, const XmlCanon& canon) {
    StringBuffer form;
    xml::StringBufferSink sink(form, XmlCanon::formLimit(text));
    xml::CanonRequest request;
    request.method =
        canon.m_method == 2 ? xml::CanonMethod::Exclusive : xml::CanonMethod::Inclusive;
    request.apex = number % 2 == 0 ? xml::kNoElement : 0;
    xml::FormAhead ahead(request.method, number % 2 == 0, sink);
    const auto document = xml::DocumentScanner::newDocument(text, text);
    xml::DocumentScanner scanner(*document, xml::DocumentScanner::Mode::Document);
    scanner.followEach(1U + number, &ahead);
    if (scanner.scan() != xml::ScanOutcome::Done) {
        return;
    }
    xml::TextRange hole;
    if (!document->signatures().empty()) {
        const auto& signature = document->element(document->signatures().front().element);
        hole = xml::rangeOf(signature.start, signature.end);
        request.omitted = {&hole, xml::isHole(*document, hole) ? 1U : 0U};
    }
    if (!ahead.isFrontOf(*document, request)) {
        return;
    }
    StringBuffer plain;
    xml::StringBufferSink plainSink(plain, XmlCanon::formLimit(text));
    if (ahead.finish(request) != xml::canonicalize(*document, request, plainSink) ||
        form.view() != plain.view()) {
        std::abort();
    }
}

// Neighbours are one hole.
std::vector<xml::TextRange> united(const std::vector<xml::TextRange>& ranges) {
    std::vector<xml::TextRange> out;
    for (const xml::TextRange range : ranges) {
        if (!out.empty() && out.back().end() == range.start) {
            out.back().length += range.length;
        } else {
            out.push_back(range);
        }
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2 || size > 65536) {
        return 0;
    }
    LogNull log;
    XmlCanon canon;
    canon.m_method = (data[0] & 1) != 0 ? 2 : 1;
    canon.m_withComments = (data[0] & 2) != 0;
    canon.m_signedDocFlag = (data[0] & 4) == 0;
    const StringBuffer text{asText({data + 2, size - 2})};
    StringBuffer once;
    StringBuffer twice;
    if (canon.xmlCanonicalize(text, nullptr, 0, once, log)) {
        XmlCanon again;
        again.m_method = canon.m_method;
        again.m_withComments = canon.m_withComments;
        if (!again.xmlCanonicalize(once, nullptr, 0, twice, log) || twice.view() != once.view() ||
            !isFormOfNodes(once, text, canon)) {
            std::abort();
        }
    }
    checkElement(text, data[1], canon);
    checkAhead(text, data[1], canon);
    _vlXmlDtd dtd;
    XmlSigRemoval removal;
    StringBuffer rest;
    if (removal.removeSignatures(text, dtd, rest, log) && !removal.m_removed.empty()) {
        const std::vector<xml::TextRange> removed = united(removal.m_removed);
        const auto areHoles = [&](const xml::XmlDocument& document) {
            return !document.isExpanded() && std::ranges::all_of(removed, [&](auto range) {
                return xml::isHole(document, range);
            });
        };
        xml::ParseFailure why;
        const auto document = xml::XmlDocument::parse(text, {true}, why);
        if (document == nullptr || !areHoles(*document)) {
            return 0;
        }
        XmlCanon plain;
        plain.m_method = canon.m_method;
        plain.m_withComments = canon.m_withComments;
        plain.m_signedDocFlag = canon.m_signedDocFlag;
        plain.m_fragmentText = true;
        StringBuffer left;
        xml::StringBufferSink sink(left, XmlCanon::formLimit(text));
        StringBuffer cut;
        if (canon.canonicalizeElement(*document, xml::kNoElement, removed, sink, log) !=
                plain.xmlCanonicalize(rest, nullptr, 0, cut, log) ||
            left.view() != cut.view()) {
            std::abort();
        }
    }
    return 0;
}
