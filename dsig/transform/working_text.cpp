// SPDX-License-Identifier: MIT
#include "dsig/transform/working_text.h"

#include "dsig/transform/chunk_removal.h"
#include "foundation/xml/scan/log_failure.h"

#include <algorithm>

namespace vantrel::dsig {

using xml::ElementId;
using xml::kNoElement;
using xml::TextRange;
using xml::XmlDocument;

namespace {

TextRange extentOf(const XmlDocument& document, ElementId element) noexcept {
    const xml::ElementRecord& record = document.element(element);
    return {record.start, record.end - record.start};
}

// Adds the ranges; those that a larger one holds go. A signature may lie in a block that a later
// step takes out as a whole. Searches find nothing that begins or ends in a gap, so a new range
// holds a gap or is apart from it, and comparing with the last range is enough.
std::vector<TextRange> united(std::vector<TextRange> gaps, const std::vector<TextRange>& added) {
    if (gaps.empty() && added.size() == 1) {
        return added;
    }
    gaps.insert(gaps.end(), added.begin(), added.end());
    std::sort(gaps.begin(), gaps.end(), [](TextRange one, TextRange other) {
        return one.start != other.start ? one.start < other.start : one.length > other.length;
    });
    std::vector<TextRange> rest;
    for (const TextRange range : gaps) {
        if (rest.empty() || range.start > rest.back().end()) {
            rest.push_back(range);
        } else if (range.start == rest.back().end()) {
            rest.back().length += range.length; // neighbours are one gap
        }
    }
    return rest;
}

} // namespace

WorkingText::WorkingText(std::shared_ptr<const XmlDocument> loaded, WorkAccount& account)
    : m_loaded(std::move(loaded)), m_account(&account), m_text(m_loaded->textBuffer()),
      m_structure(m_loaded), m_map(m_loaded->elementCount()) {}

const StringBuffer& WorkingText::text() {
    cutGaps();
    return m_text;
}

const std::shared_ptr<const XmlDocument>& WorkingText::structure(LogBase& log) {
    const bool mayParse = m_structure != nullptr || m_account == nullptr ||
                          m_account->takeOctets(m_text.getSize(), log);
    if (m_structure == nullptr && mayParse) {
        xml::ParseFailure why;
        // A part of a document may use prefixes that are declared outside of it.
        m_structure = XmlDocument::parse(m_text, {.fragment = true}, why);
        if (m_structure == nullptr) {
            xml::logParseFailure(why, log);
        } else if (m_loaded != nullptr && m_structure->elementCount() != m_map.size()) {
            // Cannot be; but if it were, nothing could be said of what is digested.
            log.LogError("The elements of the XML are not those of the loaded document.");
            m_structure.reset();
        }
    }
    return m_structure;
}

// Siblings follow one another in the records, so the last of the run is found from the first on.
// Text between the siblings belongs to the run; text before the first or behind the last would not
// be an element's, and makes the stretch none.
bool WorkingText::isElementRun(const XmlDocument& document, TextRange range, ElementId& first,
                               ElementId& last) const noexcept {
    first = document.elementAt(range.start);
    if (first == kNoElement || isTakenOut(first)) {
        return false;
    }
    last = first;
    for (ElementId next = first; next != kNoElement && document.element(next).start < range.end();
         next = document.nextSibling(next)) {
        last = next;
    }
    return document.element(last).end == range.end();
}

bool WorkingText::takeOut(const std::vector<TextRange>& ranges, std::string_view why,
                          LogBase& log) {
    std::vector<Cut> cuts;
    cuts.reserve(ranges.size());
    for (const TextRange range : ranges) {
        cuts.push_back({range, why});
    }
    return takeOut(cuts, log);
}

bool WorkingText::takeOut(std::span<const Cut> cuts, LogBase& log) {
    if (cuts.empty()) {
        return true;
    }
    std::vector<TextRange> ranges;
    ranges.reserve(cuts.size());
    for (const Cut& cut : cuts) {
        ranges.push_back(cut.range);
    }
    if (m_loaded == nullptr) {
        cutOut(m_text, ranges);
        m_structure.reset();
        return true;
    }
    const auto document = structure(log);
    if (document == nullptr) {
        return false;
    }
    // All stretches are checked before the first is noted, so that a refusal leaves text and
    // coverage untouched.
    std::vector<std::pair<ElementId, ElementId>> runs;
    runs.reserve(ranges.size());
    for (const TextRange range : ranges) {
        ElementId first = kNoElement;
        ElementId last = kNoElement;
        if (!isElementRun(*document, range, first, last)) {
            log.LogError("What is to be taken out of the XML is not a run of whole elements.");
            log.LogDataUint32("offset", range.start);
            log.LogDataUint32("length", range.length);
            return false;
        }
        runs.emplace_back(first, last);
    }
    m_gaps = united(std::move(m_gaps), ranges);
    for (std::size_t i = 0; i < runs.size(); ++i) {
        exclude(runs[i].first, runs[i].second, cuts[i].why);
    }
    // A gap stays a gap only where the canonicalizer may skip it and get the same octets. Where the
    // characters on its two sides would combine, the text is really cut and parsed again.
    const bool holes = std::all_of(m_gaps.begin(), m_gaps.end(),
                                   [&](TextRange gap) { return xml::isHole(*document, gap); });
    if (!holes) {
        cutGaps();
    }
    return true;
}

bool WorkingText::cutDownTo(TextRange range, LogBase& log) {
    StringBuffer rest;
    if (m_loaded == nullptr) {
        rest.setView(m_text.view().substr(range.start, range.length));
        setText(rest);
        return true;
    }
    const auto document = structure(log);
    if (document == nullptr) {
        return false;
    }
    // Cut out, the part would lose what the document type adds to it for every other reader.
    if (document->hasAttributeDefaults() || document->hasAttributeTypes()) {
        log.LogError(
            "The document type declares attributes, so no part of the XML can be cut out.");
        return false;
    }
    // Two forms are accepted: exactly one element, or a stretch that holds the root and so loses
    // only what stands around it.
    ElementId element = document->elementAt(range.start);
    const TextRange root = extentOf(*document, 0);
    if (element == kNoElement && isInside(root, range)) {
        element = 0;
    }
    if (element == kNoElement || isTakenOut(element) ||
        (element != 0 && document->element(element).end != range.end()) ||
        (element == 0 && !isInside(root, range))) {
        log.LogError("The part of the XML that is to be digested is not one whole element.");
        log.LogDataUint32("offset", range.start);
        log.LogDataUint32("length", range.length);
        return false;
    }
    // The gaps inside go with the same cut, so that the new text starts without any.
    std::uint32_t at = range.start;
    for (const TextRange gap : m_gaps) {
        if (isInside(gap, range)) {
            rest.appendView(m_text.view().substr(at, gap.start - at));
            at = gap.end();
        }
    }
    rest.appendView(m_text.view().substr(at, range.end() - at));
    // Both need the old structure and the old numbers, so they come before the text changes.
    ElementMap kept = subtreeWithoutGaps(element);
    const ElementId apexes[] = {element};
    narrowTo(apexes);
    m_map = std::move(kept);
    setText(rest);
    return true;
}

ElementMap WorkingText::subtreeWithoutGaps(ElementId apex) const {
    ElementMap kept = m_map;
    const ElementId end = m_structure->subtreeEnd(apex);
    // From the last gap on, so that the numbers before it stay as they are.
    ElementId keptEnd = end;
    for (auto gap = m_gaps.rbegin(); gap != m_gaps.rend(); ++gap) {
        const ElementId first = m_structure->elementAt(gap->start);
        // Outside of the subtree, or around it.
        if (first <= apex || first >= end) {
            continue;
        }
        // A gap is a run of siblings: step over their subtrees up to its end.
        ElementId behind = first;
        while (behind < end && m_structure->element(behind).start < gap->end()) {
            behind = m_structure->subtreeEnd(behind);
        }
        kept.remove(first, behind);
        keptEnd -= behind - first;
    }
    kept.keep(apex, keptEnd);
    return kept;
}

void WorkingText::cutGaps() {
    if (m_gaps.empty()) {
        return;
    }
    StringBuffer rest = m_text;
    cutOut(rest, m_gaps);
    ElementMap kept = subtreeWithoutGaps(0);
    m_map = std::move(kept);
    setText(rest);
}

void WorkingText::setText(StringBuffer& text) {
    m_text.takeSb(text);
    m_gaps.clear();
    m_structure.reset();
}

// Elements are named by their numbers in the loaded document, since those of the text change with
// the next step.
void WorkingText::narrowTo(std::span<const ElementId> apexes) {
    if (apexes.empty() || m_loaded == nullptr) {
        return;
    }
    m_coverage.wholeDocument = false;
    if (apexes.size() == 1) {
        const xml::ElementId loaded = m_map.toLoaded(apexes.front());
        m_coverage.elements.assign({&loaded, 1});
        return;
    }
    std::vector<xml::ElementId> loaded;
    for (const ElementId apex : apexes) {
        loaded.push_back(m_map.toLoaded(apex));
    }
    m_coverage.elements.assign(loaded);
}

void WorkingText::canonicalized(std::span<const ElementId> apexes, StringBuffer& octets) {
    // The octets hold the subtrees one behind the other, so their maps are joined in the same
    // order. Without an apex it is the root's subtree, which is all elements there are.
    if (m_loaded != nullptr) {
        ElementMap kept = subtreeWithoutGaps(apexes.empty() ? 0 : apexes.front());
        for (const ElementId apex : apexes.empty() ? apexes : apexes.subspan(1)) {
            kept.append(subtreeWithoutGaps(apex));
        }
        narrowTo(apexes);
        m_map = std::move(kept);
    }
    setText(octets);
}

void WorkingText::streamed(std::span<const ElementId> apexes) {
    narrowTo(apexes);
    m_streamed = true;
}

// A text that stands for itself has the numbers of its own structure.
ElementId WorkingText::elementOf(ElementId loaded) const noexcept {
    const ElementId element = m_loaded != nullptr ? m_map.toText(loaded) : loaded;
    return element != kNoElement && !isTakenOut(element) ? element : kNoElement;
}

bool WorkingText::isTakenOut(ElementId element) const noexcept {
    if (m_gaps.empty()) {
        return false;
    }
    const std::uint32_t start = m_structure->element(element).start;
    const auto gap = std::partition_point(
        m_gaps.begin(), m_gaps.end(), [start](TextRange range) { return range.end() <= start; });
    return gap != m_gaps.end() && gap->start <= start;
}

void WorkingText::noteExcluded(ElementId element, std::string_view why) {
    exclude(element, element, why);
}

void WorkingText::exclude(ElementId first, ElementId last, std::string_view why) {
    if (m_loaded == nullptr) {
        return;
    }
    // An element that came from an entity has no place in the source. The coverage then says that
    // it is not known, rather than leaving a removal out of the report.
    const ElementId loadedFirst = m_map.toLoaded(first);
    const ElementId loadedLast = m_map.toLoaded(last);
    TextRange from;
    TextRange to;
    Exclusion exclusion;
    exclusion.element = loadedFirst;
    exclusion.why = why;
    if (loadedFirst == kNoElement || loadedLast == kNoElement ||
        !m_loaded->sourceRange(loadedFirst, from) || !m_loaded->sourceRange(loadedLast, to)) {
        m_coverage.known = false;
    } else {
        exclusion.range = {from.start, to.end() - from.start};
    }
    m_coverage.excluded.push_back(exclusion);
}

} // namespace vantrel::dsig
