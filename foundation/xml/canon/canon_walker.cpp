// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/canon_walker.h"

#include "foundation/xml/canon/escape.h"
#include "foundation/xml/scan/content_reader.h"
#include "foundation/xml/scan/name_scan.h"
#include "foundation/xml/scan/stop_bytes.h"
#include "foundation/xml/scan/values.h"

#include <algorithm>
#include <limits>

namespace vantrel::xml {

namespace {

constexpr std::string_view kCommentOpen = "<!--";
constexpr std::string_view kCommentClose = "-->";
constexpr std::string_view kCdataOpen = "<![CDATA[";
constexpr std::string_view kCdataClose = "]]>";
constexpr std::string_view kInstructionOpen = "<?";
constexpr std::string_view kInstructionClose = "?>";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::uint32_t kStopsCounted = 32;
constexpr std::uint32_t kOctetsWorthAStop = 320;
constexpr std::uint32_t kTagByTag = 256U << 10;
constexpr std::uint32_t kNowhere = std::numeric_limits<std::uint32_t>::max();

} // namespace

CanonWalker::CanonWalker(const XmlDocument& document, const CanonRequest& request, CanonSink& sink)
    : m_document(document), m_request(request), m_text(document.text()), m_window(m_text),
      m_out(m_text, sink), m_tags(document, request, m_window, m_out),
      m_findStop(chosenStopSearchKernel().run) {}

// Canonical XML 1.0, 2.3: comments and processing instructions outside the root element stand on
// lines of their own; everything else there is left out.
void CanonWalker::walkDocument() {
    const ElementRecord& root = m_document.element(0);
    walkOutside(contentBegin(), root.start, true);
    walkElement(0);
    walkOutside(root.end, static_cast<std::uint32_t>(m_text.size()), false);
}

// Behind the XML declaration.
std::uint32_t CanonWalker::contentBegin() const noexcept {
    const TextRange declaration = m_document.xmlDeclRange();
    if (!declaration.empty()) {
        return declaration.end();
    }
    return m_text.starts_with(kByteOrderMark) ? static_cast<std::uint32_t>(kByteOrderMark.size())
                                              : 0;
}

void CanonWalker::walkOutside(std::uint32_t begin, std::uint32_t end, bool beforeRoot) {
    ContentReader reader(m_text, begin, end);
    ContentPiece piece;
    for (ContentKind kind = reader.next(piece); kind != ContentKind::End;
         kind = reader.next(piece)) {
        if (kind == ContentKind::Doctype) {
            reader.skipTo(m_document.doctypeRange().end());
        }
        const bool comment = kind == ContentKind::Comment && m_request.withComments;
        if (!comment && kind != ContentKind::ProcessingInstruction) {
            continue;
        }
        if (!beforeRoot) {
            m_out.put('\n');
        }
        if (comment) {
            m_out.put(kCommentOpen);
            putLines(piece.body, m_out);
            m_out.put(kCommentClose);
        } else {
            putInstruction(piece.body);
        }
        if (beforeRoot) {
            m_out.put('\n');
        }
    }
}

void CanonWalker::walkSubtree(ElementId apex) {
    const std::uint32_t end = m_document.element(apex).end;
    begin(apex, end);
    walkTo(end);
    m_out.copyUpTo(end);
}

void CanonWalker::walkFront(bool whole, std::uint32_t offset) {
    if (whole) {
        walkOutside(contentBegin(), m_document.element(0).start, true);
    }
    m_tags.followFromRoot();
    begin(0, static_cast<std::uint32_t>(m_text.size()));
    walkOnTo(offset);
}

void CanonWalker::walkOnTo(std::uint32_t offset) {
    m_tags.learnMore();
    learnKnown(offset);
    walkTo(offset);
}

void CanonWalker::walkRest(bool whole) {
    const std::uint32_t end = m_document.element(0).end;
    findHole(m_at);
    walkOnTo(end);
    m_out.copyUpTo(end);
    if (whole) {
        walkOutside(end, static_cast<std::uint32_t>(m_text.size()), false);
    }
}

void CanonWalker::begin(ElementId apex, std::uint32_t windowEnd) {
    const std::uint32_t start = m_document.element(apex).start;
    const auto holes = m_request.omitted;
    m_nextHole = static_cast<std::size_t>(
        std::find_if(holes.begin(), holes.end(),
                     [start](TextRange hole) { return hole.start > start; }) -
        holes.begin());
    findHole(start);
    m_portionEnd = start + CanonOutput::kPortion;
    m_stops = 0;
    m_tagByTagEnd = 0;
    m_out.skipTo(start);
    m_window.open(windowEnd);
    m_at = start;
    learnKnown(windowEnd);
    if (start >= m_knownEnd || !m_tags.isApexUsual()) {
        m_at = m_tags.writeApex(apex, start);
    }
}

// Up to where, but not beyond `limit`, the places that are untidy are known.
void CanonWalker::learnKnown(std::uint32_t limit) {
    const std::span<const UntidyPlace> stops = m_document.untidyPlaces();
    m_nextStop = std::partition_point(stops.data(), stops.data() + stops.size(),
                                      [this](UntidyPlace place) { return place.offset() < m_at; });
    const bool isKnown = !m_document.hasCarriageReturn() && !m_tags.stopRules().everyTag;
    m_knownEnd = isKnown ? std::min(limit, m_document.tidyKnownUpTo()) : 0;
}

void CanonWalker::walkTo(std::uint32_t limit) {
    std::uint32_t at = m_at;
    while (at < limit) {
        std::uint32_t due = std::min(m_portionEnd, m_holeStart);
        if (at < m_knownEnd) {
            due = std::max(at, std::min(due, m_tags.nextEvent()));
            at = passTidy(at, std::min(due, m_knownEnd));
            if (at < due) {
                at = at < m_knownEnd ? passUntidy(at) : at;
                continue;
            }
        } else if (at < m_tagByTagEnd) {
            at = walkTagByTag(at, std::min(due, limit));
        } else {
            // A long tag may have passed the end of the portion.
            due = std::max(at, std::min(due, m_tags.nextEvent()));
            at = m_findStop(m_window, m_tags, m_text, at, std::min(due, limit));
        }
        if (at < limit) {
            if (at >= due) {
                at = event(at);
            } else {
                countStop(at);
                at = passStop(at);
            }
        }
    }
    m_at = at;
}

std::uint32_t CanonWalker::passTidy(std::uint32_t at, std::uint32_t limit) {
    const std::span<const UntidyPlace> stops = m_document.untidyPlaces();
    const UntidyPlace* const last = stops.data() + stops.size();
    while (m_nextStop != last && m_nextStop->offset() < at) {
        ++m_nextStop;
    }
    const std::uint32_t stop = m_nextStop != last ? std::min(limit, m_nextStop->offset()) : limit;
    m_tags.passTidy(at, stop);
    // What has to be declared in a tag that the limit cuts through may be behind that.
    return std::max(stop, m_out.stretchStart());
}

// At the next of the places that are known.
std::uint32_t CanonWalker::passUntidy(std::uint32_t at) {
    if (m_nextStop->isEmptyTag()) {
        return m_tags.writeEmpty(at);
    }
    const char next = m_text[at + 1];
    const bool isStartTag = m_text[at] == '<' && next != '/' && next != '!' && next != '?';
    return isStartTag ? m_tags.writeUntidy(at) : passStop(at);
}

std::uint32_t CanonWalker::walkTagByTag(std::uint32_t at, std::uint32_t limit) {
    m_open.clear();
    while (at < limit) {
        at = m_window.findContentStop(at);
        if (at >= limit) {
            break;
        }
        const char next = m_text[at] == '<' ? m_text[at + 1] : '!';
        if (next == '/') {
            // Of an element that was opened here the length is known.
            const std::uint32_t close =
                m_open.empty() ? m_window.findGreater(at) : at + 2 + m_open.back();
            m_open.truncate(m_open.size() - (m_open.empty() ? 0 : 1));
            const bool tidy =
                m_text[close] == '>' && static_cast<unsigned char>(m_text[close - 1]) > ' ';
            at = tidy ? close + 1 : endTag(at);
        } else if (next == '!' || next == '?') {
            at = passStop(at);
        } else {
            at = m_tags.write(at);
            if (m_tags.openedName() != 0) {
                m_open.push_back(m_tags.openedName());
            }
        }
    }
    return at;
}

// The next hole that begins at `at` or behind it. One within a comment, say, is no hole: the walk
// has passed its beginning when it is looked for.
void CanonWalker::findHole(std::uint32_t at) noexcept {
    while (m_nextHole < m_request.omitted.size() && m_request.omitted[m_nextHole].start < at) {
        ++m_nextHole;
    }
    m_holeStart =
        m_nextHole < m_request.omitted.size() ? m_request.omitted[m_nextHole].start : kNowhere;
}

// Where the rules for stops change, a hole begins, or a portion is full.
std::uint32_t CanonWalker::event(std::uint32_t at) {
    if (at >= m_portionEnd) {
        m_out.copyUpTo(at);
        m_portionEnd = at + CanonOutput::kPortion;
        if (m_out.refused()) {
            return kNowhere;
        }
    }
    if (at > m_holeStart) {
        findHole(at);
    }
    // Holes may stand side by side; none of their tags is written.
    while (at == m_holeStart) {
        m_out.copyUpTo(at);
        at = m_request.omitted[m_nextHole++].end();
        m_out.skipTo(at);
        findHole(at);
    }
    m_tags.goOnAt(at);
    return at == m_tags.nextEvent() ? m_tags.write(at) : at;
}

// A stop costs about as much as going over some hundred octets tag by tag takes longer than to
// search them.
inline void CanonWalker::countStop(std::uint32_t at) noexcept {
    if (m_stops++ == 0) {
        m_countedFrom = at;
    } else if (m_stops == kStopsCounted) {
        if (at - m_countedFrom < kStopsCounted * kOctetsWorthAStop) {
            m_tagByTagEnd = at + kTagByTag;
        }
        m_stops = 0;
    }
}

// At something that may not be left as it is.
std::uint32_t CanonWalker::passStop(std::uint32_t at) {
    switch (m_text[at]) {
    case '<': break;
    case '&': return reference(at);
    case '>': return greaterThan(at);
    default: return carriageReturn(at);
    }
    switch (m_text[at + 1]) {
    case '/': return endTag(at);
    case '!': return commentOrCdata(at);
    case '?': return instruction(at);
    default: return m_tags.write(at);
    }
}

// White space behind the name is left out.
std::uint32_t CanonWalker::endTag(std::uint32_t at) {
    const auto size = static_cast<std::uint32_t>(m_text.size());
    m_out.copyUpTo(at + 2 + scanName(m_text.data(), at + 2, size).length);
    const std::uint32_t close = findByte(m_text.data(), at + 2, size, '>');
    m_out.skipTo(close);
    return close + 1;
}

std::uint32_t CanonWalker::commentOrCdata(std::uint32_t at) {
    const bool comment = m_text[at + 2] == '-';
    const std::string_view open = comment ? kCommentOpen : kCdataOpen;
    const std::string_view close = comment ? kCommentClose : kCdataClose;
    const std::size_t bodyStart = at + open.size();
    const std::size_t bodyEnd = m_text.find(close, bodyStart);
    const auto end = static_cast<std::uint32_t>(bodyEnd + close.size());
    const std::string_view body = m_text.substr(bodyStart, bodyEnd - bodyStart);

    if (comment && m_request.withComments && !m_document.hasCarriageReturn()) {
        return end;
    }
    m_out.copyUpTo(at);
    if (!comment) {
        putCdata(body, m_out);
    } else if (m_request.withComments) {
        m_out.put(kCommentOpen);
        putLines(body, m_out);
        m_out.put(kCommentClose);
    }
    m_out.skipTo(end);
    return end;
}

std::uint32_t CanonWalker::instruction(std::uint32_t at) {
    const std::size_t bodyStart = at + kInstructionOpen.size();
    const std::size_t bodyEnd = m_text.find(kInstructionClose, bodyStart);
    m_out.copyUpTo(at);
    putInstruction(m_text.substr(bodyStart, bodyEnd - bodyStart));
    const auto end = static_cast<std::uint32_t>(bodyEnd + kInstructionClose.size());
    m_out.skipTo(end);
    return end;
}

// `body` is what stands between "<?" and "?>": exactly one space follows the target, unless there
// is no data.
void CanonWalker::putInstruction(std::string_view body) {
    constexpr std::string_view kSpace = " \t\r\n";
    const std::size_t targetEnd = body.find_first_of(kSpace);
    m_out.put(kInstructionOpen);
    m_out.put(body.substr(0, targetEnd));
    const std::size_t data = body.find_first_not_of(kSpace, std::min(targetEnd, body.size()));
    if (data != std::string_view::npos) {
        m_out.put(' ');
        putLines(body.substr(data), m_out);
    }
    m_out.put(kInstructionClose);
}

std::uint32_t CanonWalker::reference(std::uint32_t at) {
    const std::string_view rest = m_text.substr(at);
    if (const std::uint32_t length = canonicalReference(rest.data()); length != 0) {
        return at + length;
    }
    const ResolvedReference resolved = resolveReference(rest);
    m_out.copyUpTo(at);
    putTextCharacter(resolved.value, m_out);
    m_out.skipTo(at + resolved.length);
    return at + resolved.length;
}

std::uint32_t CanonWalker::greaterThan(std::uint32_t at) {
    m_out.copyUpTo(at);
    m_out.put("&gt;");
    m_out.skipTo(at + 1);
    return at + 1;
}

// CR LF loses its CR, a single CR becomes LF (XML 1.0, 2.11). A document does not end in one here:
// the end tag of the apex follows.
std::uint32_t CanonWalker::carriageReturn(std::uint32_t at) {
    m_out.copyUpTo(at);
    if (m_text[at + 1] != '\n') {
        m_out.put('\n');
    }
    m_out.skipTo(at + 1);
    return at + 1;
}

} // namespace vantrel::xml
