// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_CANON_WALKER_H
#define FOUNDATION_XML_CANON_CANON_WALKER_H

#include "foundation/xml/canon/canon_output.h"
#include "foundation/xml/canon/canon_window.h"
#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/canon/few_array.h"
#include "foundation/xml/canon/start_tag_writer.h"
#include "foundation/xml/canon/stop_search.h"

#include <cstdint>
#include <string_view>

namespace vantrel::xml {

// Walks once over the text of an element, or of a whole document, and writes its canonical form.
// What need not change is only passed over: from one place to the next that was noted when the
// document was scanned (XmlDocument::untidyPlaces), or, where that gave up, that a search finds.
// The document was checked then, so the walk trusts the text: every '<' begins markup that ends,
// every end tag has its start tag.
class CanonWalker final {
public:
    CanonWalker(const XmlDocument& document, const CanonRequest& request, CanonSink& sink);

    void walkDocument();
    void walkElement(ElementId apex) {
        m_tags.inherit(apex);
        walkSubtree(apex);
    }
    [[nodiscard]] bool finish() { return m_out.finish(); }

    // The forms of several elements, one after the other: children of one element, but for the
    // first, whatever it is. False where there can be no second.
    [[nodiscard]] bool walkFirst(ElementId apex) {
        m_tags.inherit(apex);
        const bool canGoOn = m_tags.keepInherited();
        walkSubtree(apex);
        return canGoOn;
    }
    // The front of the form of a document that is still being read (parse_follower.h), or of its
    // root: up to `offset`, where a start tag below the root begins, and each time up to a later
    // one. At last, when all is read, the rest with what the request leaves out by then.
    void walkFront(bool whole, std::uint32_t offset);
    void walkOnTo(std::uint32_t offset);
    void walkRest(bool whole);
    [[nodiscard]] std::uint32_t reached() const noexcept { return m_at; }
    void walkNext(ElementId apex) {
        m_out.forget();
        m_tags.goOnWith(apex);
        walkSubtree(apex);
    }
    // The form of the last one, where the sink was given nothing of it; else empty.
    [[nodiscard]] std::string_view form() const noexcept {
        return m_out.refused() ? std::string_view() : m_out.collected();
    }

private:
    void walkSubtree(ElementId apex);
    // At the apex, whose start tag is written where that is not to be passed like any other.
    void begin(ElementId apex, std::uint32_t windowEnd);
    void learnKnown(std::uint32_t limit);
    // From m_at to `limit`, outside of tags.
    void walkTo(std::uint32_t limit);
    [[nodiscard]] std::uint32_t contentBegin() const noexcept;
    // Comments and processing instructions before or behind the root, each on a line of its own
    // (Canonical XML 1.0, 2.3). What else stands there, white space and the document type, is not
    // part of the canonical form.
    void walkOutside(std::uint32_t begin, std::uint32_t end, bool beforeRoot);
    // From `at` to the first place that the document knows to be untidy, or to `limit`.
    [[nodiscard]] std::uint32_t passTidy(std::uint32_t at, std::uint32_t limit);
    [[nodiscard]] std::uint32_t passUntidy(std::uint32_t at);
    // From `at` to `limit` without a search for stops: every tag is one. For stretches where there
    // are many. Returns where it got to, outside of tags.
    [[nodiscard]] std::uint32_t walkTagByTag(std::uint32_t at, std::uint32_t limit);
    void countStop(std::uint32_t at) noexcept;
    // Each takes one thing that begins at `at` and returns the offset behind it.
    [[nodiscard]] std::uint32_t event(std::uint32_t at);
    [[nodiscard]] std::uint32_t passStop(std::uint32_t at);
    [[nodiscard]] std::uint32_t endTag(std::uint32_t at);
    [[nodiscard]] std::uint32_t commentOrCdata(std::uint32_t at);
    [[nodiscard]] std::uint32_t instruction(std::uint32_t at);
    [[nodiscard]] std::uint32_t reference(std::uint32_t at);
    [[nodiscard]] std::uint32_t greaterThan(std::uint32_t at);
    [[nodiscard]] std::uint32_t carriageReturn(std::uint32_t at);
    void findHole(std::uint32_t at) noexcept;
    void putInstruction(std::string_view body);

    const XmlDocument& m_document;
    const CanonRequest& m_request;
    const std::string_view m_text;
    CanonWindow m_window;
    CanonOutput m_out;
    StartTagWriter m_tags;
    const FindStop m_findStop;
    std::uint32_t m_at = 0; // where a walk has got to
    // Where to hand over what was passed, while it is still in the cache, and where the next hole
    // begins.
    std::uint32_t m_portionEnd = 0;
    std::uint32_t m_holeStart = 0;
    FewArray<std::uint32_t, 16> m_open; // lengths of names whose end tags are to come
    std::uint32_t m_stops = 0;          // since m_countedFrom
    std::uint32_t m_countedFrom = 0;
    // Up to here the document knows the stops, of which the next one is m_nextStop.
    std::uint32_t m_knownEnd = 0;
    const UntidyPlace* m_nextStop = nullptr;
    // Up to here there are too many stops to search for them.
    std::uint32_t m_tagByTagEnd = 0;
    std::size_t m_nextHole = 0;
};

} // namespace vantrel::xml

#endif
