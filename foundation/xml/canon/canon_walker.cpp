// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/canon_walker.h"

#include "foundation/xml/canon/escape.h"
#include "foundation/xml/scan/content_reader.h"
#include "foundation/xml/scan/stop_bytes.h"
#include "foundation/xml/scan/values.h"

#include <algorithm>

namespace vantrel::xml {

namespace {

constexpr std::string_view kCommentOpen = "<!--";
constexpr std::string_view kCommentClose = "-->";
constexpr std::string_view kCdataOpen = "<![CDATA[";
constexpr std::string_view kCdataClose = "]]>";
constexpr std::string_view kInstructionOpen = "<?";
constexpr std::string_view kInstructionClose = "?>";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

} // namespace

CanonWalker::CanonWalker(const XmlDocument& document, const CanonRequest& request, CanonSink& sink)
    : m_document(document), m_request(request), m_text(document.text()), m_window(m_text),
      m_out(m_text.data(), sink), m_tags(document, request, m_window, m_out) {}

// Canonical XML 1.0, 2.3: comments and processing instructions outside the root element stand on
// lines of their own; everything else there is left out.
void CanonWalker::walkDocument() {
    const ElementRecord& root = m_document.element(0);
    const TextRange declaration = m_document.xmlDeclRange();
    std::uint32_t begin = declaration.end();
    if (declaration.empty()) {
        begin = m_text.starts_with(kByteOrderMark)
                    ? static_cast<std::uint32_t>(kByteOrderMark.size())
                    : 0;
    }
    walkOutside(begin, root.start, true);
    walkElement(0);
    walkOutside(root.end, static_cast<std::uint32_t>(m_text.size()), false);
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

void CanonWalker::walkElement(ElementId apex) {
    const ElementRecord& record = m_document.element(apex);
    const auto holes = m_request.omitted;
    m_nextHole = static_cast<std::size_t>(
        std::find_if(holes.begin(), holes.end(),
                     [&](TextRange hole) { return hole.start > record.start; }) -
        holes.begin());
    m_nextElement = apex;
    m_out.skipTo(record.start);
    planEvent(record.start);
    m_tags.inherit(apex);

    m_window.open(record.start, record.end);
    m_open.clear();
    const WrittenTag tag = m_tags.writeApex(m_nextElement++, record.start);
    if (!tag.selfClosing) {
        m_open.push_back(tag.nameLength);
        walkContent(tag.end);
    }
    m_out.copyUpTo(record.end);
}

// From behind the start tag of the apex to behind its end tag.
void CanonWalker::walkContent(std::uint32_t at) {
    while (!m_open.empty()) {
        at = m_window.findContentStop(at);
        const char c = m_text[at];
        if (c == '<') [[likely]] {
            const char next = m_text[at + 1];
            if (next == '/') {
                at = endTag(at);
            } else if (next == '!') [[unlikely]] {
                at = commentOrCdata(at);
            } else if (next == '?') [[unlikely]] {
                at = instruction(at);
            } else {
                at = startTag(at);
            }
        } else if (c == '&') {
            at = reference(at);
        } else {
            at = c == '>' ? greaterThan(at) : carriageReturn(at);
        }
    }
}

inline std::uint32_t CanonWalker::startTag(std::uint32_t at) {
    if (at >= m_nextEvent && passHole(at)) {
        return at;
    }
    const auto depth = static_cast<std::uint32_t>(m_open.size());
    const WrittenTag tag = m_tags.write(m_nextElement++, at, depth);
    if (!tag.selfClosing) {
        m_open.push_back(tag.nameLength);
    }
    return tag.end;
}

inline std::uint32_t CanonWalker::endTag(std::uint32_t at) {
    const std::uint32_t nameEnd = at + 2 + m_open.back();
    m_open.pop_back();
    m_tags.leave(static_cast<std::uint32_t>(m_open.size()));
    if (m_text[nameEnd] == '>') {
        return nameEnd + 1;
    }
    m_out.copyUpTo(nameEnd);
    const std::uint32_t close =
        findByte(m_text.data(), nameEnd, static_cast<std::uint32_t>(m_text.size()), '>');
    m_out.skipTo(close);
    return close + 1;
}

void CanonWalker::planEvent(std::uint32_t at) noexcept {
    m_nextEvent = at + CanonOutput::kPortion;
    if (m_nextHole < m_request.omitted.size()) {
        m_nextEvent = std::min(m_nextEvent, m_request.omitted[m_nextHole].start);
    }
}

// At a start tag: true when a hole begins there, with `at` moved behind it, or when the walk ends
// since its output is refused.
bool CanonWalker::passHole(std::uint32_t& at) {
    m_out.copyUpTo(at);
    if (m_out.refused()) {
        m_open.clear();
        return true;
    }
    const bool hole =
        m_nextHole < m_request.omitted.size() && m_request.omitted[m_nextHole].start == at;
    if (hole) {
        at = m_request.omitted[m_nextHole++].end();
        m_out.skipTo(at);
        while (m_nextElement < m_document.elementCount() &&
               m_document.element(m_nextElement).start < at) {
            m_nextElement = m_document.subtreeEnd(m_nextElement);
        }
        m_tags.goOnAt(m_nextElement);
    }
    planEvent(at);
    return hole;
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
    if (const std::uint32_t length = canonicalReference(rest); length != 0) {
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
