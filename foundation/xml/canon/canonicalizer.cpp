// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/canonicalizer.h"

#include "foundation/xml/canon/canon_walker.h"

namespace vantrel::xml {

namespace {

// The last of the sibling elements from `first` on, which is not the root, that begin before `end`.
ElementId lastSiblingBefore(const XmlDocument& document, ElementId first, std::uint32_t end) {
    const ElementId parent = document.parent(first);
    ElementId last = first;
    for (ElementId next = document.nextChild(parent, last);
         next != kNoElement && document.element(next).start < end;
         next = document.nextChild(parent, last)) {
        last = next;
    }
    return last;
}

} // namespace

bool isHole(const XmlDocument& document, TextRange range) {
    const std::string_view text = document.text();
    if (range.start >= text.size() || range.length > text.size() - range.start) {
        return false;
    }
    const ElementId first = document.elementAt(range.start);
    if (first == kNoElement || first == 0) {
        return false;
    }
    const ElementId last = lastSiblingBefore(document, first, range.end());
    if (document.element(last).end != range.end()) {
        return false;
    }
    // Something stands on either side, since the root encloses the range. CR and LF would become
    // one line end, and "]]" and ">" what character data may not hold; "]" is enough to be careful.
    const char before = text[range.start - 1];
    const char after = text[range.end()];
    return !(before == '\r' && after == '\n') && before != ']';
}

std::uint64_t octetsToGoOver(const XmlDocument& document, const CanonRequest& request) noexcept {
    if (request.apex == kNoElement) {
        return document.text().size();
    }
    const ElementRecord& apex = document.element(request.apex);
    return apex.end - apex.start;
}

bool canonicalize(const XmlDocument& document, const CanonRequest& request, CanonSink& sink) {
    std::uint64_t octets = 0;
    const CanonSink::Ahead ahead = sink.takeFormAhead(document, request, octets);
    if (ahead != CanonSink::Ahead::No) {
        return ahead == CanonSink::Ahead::Taken;
    }
    const bool whole = request.apex == kNoElement;
    const ElementRecord& apex = document.element(whole ? 0 : request.apex);
    const bool mostlyAsTheyStand = request.method == CanonMethod::Inclusive &&
                                   !document.hasCarriageReturn() &&
                                   document.tidyKnownUpTo() >= apex.end;
    if (!sink.expect(octetsToGoOver(document, request), mostlyAsTheyStand)) {
        return false;
    }
    CanonWalker walker(document, request, sink);
    if (whole) {
        walker.walkDocument();
    } else {
        walker.walkElement(request.apex);
    }
    return walker.finish();
}

} // namespace vantrel::xml
