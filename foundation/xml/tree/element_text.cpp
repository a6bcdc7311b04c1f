// SPDX-License-Identifier: MIT
#include "foundation/xml/tree/element_text.h"

#include "foundation/xml/scan/char_class.h"
#include "foundation/xml/scan/content_reader.h"
#include "foundation/xml/scan/values.h"
#include "foundation/xml/tree/tag_pattern.h"

#include <algorithm>
#include <new>

namespace vantrel::xml {
namespace {

constexpr std::uint32_t kMostSearches = 3; // among the children of one element

// Offset behind the element's start tag.
std::uint32_t contentStart(const XmlDocument& document, ElementId element) {
    StartTagReader tag(document.text(), document.element(element).start);
    for (Attribute attribute; tag.next(attribute);) {}
    return tag.end();
}

void appendQuoted(std::string_view value, std::string& out) {
    out.push_back('"');
    for (const char c : value) {
        switch (c) {
        case '"': out.append("&quot;"); break;
        case '<': out.append("&lt;"); break;
        case '&': out.append("&amp;"); break;
        case '\t': out.append("&#9;"); break;
        case '\n': out.append("&#10;"); break;
        case '\r': out.append("&#13;"); break;
        default: out.push_back(c); break;
        }
    }
    out.push_back('"');
}

// Appends the start tag with its attributes normalised and the defaults that it takes on; returns
// the offset behind it.
std::uint32_t appendResolvedTag(const XmlDocument& document, ElementId element, std::string& out) {
    out.append("<").append(document.qualifiedName(element));
    forEachAttribute(document, element, [&](std::string_view name, std::string_view value) {
        out.append(" ").append(name).push_back('=');
        appendQuoted(value, out);
        return true;
    });
    const std::uint32_t behind = contentStart(document, element);
    out.append(document.text()[behind - 2] == '/' ? "/>" : ">");
    return behind;
}

} // namespace

namespace detail {

std::string_view normalisedValue(const XmlDocument& document, ElementId element,
                                 const Attribute& attribute, std::string& storage) {
    const AttributeType type = document.hasAttributeTypes()
                                   ? document.documentType()->attributeType(
                                         document.qualifiedName(element), attribute.name)
                                   : AttributeType::Cdata;
    if (attribute.plain && type == AttributeType::Cdata) {
        return attribute.raw;
    }
    storage.clear();
    appendAttributeValue(attribute.raw, type, storage);
    return storage;
}

} // namespace detail

void appendElementContent(const XmlDocument& document, ElementId element, std::string& out) {
    ElementId child = document.firstChild(element);
    ContentReader reader(document.text(), contentStart(document, element),
                         document.element(element).end);
    ContentPiece piece;
    for (;;) {
        switch (reader.next(piece)) {
        case ContentKind::Text: appendText(piece.body, out); break;
        case ContentKind::Cdata: appendCdata(piece.body, out); break;
        case ContentKind::StartTag:
            reader.skipTo(document.element(child).end);
            child = document.nextChild(element, child);
            break;
        case ContentKind::Comment:
        case ContentKind::ProcessingInstruction: break;
        case ContentKind::EndTag:
        case ContentKind::Doctype:
        case ContentKind::End: return;
        }
    }
}

bool plainElementContent(const XmlDocument& document, ElementId element,
                         std::string_view& content) noexcept {
    const std::uint32_t start = contentStart(document, element);
    const std::uint32_t end = document.element(element).end;
    const std::string_view inside = document.text().substr(start, end - start);
    // The end tag; an empty-element tag has nothing behind it.
    const std::size_t stop = std::min(inside.find('<'), inside.size());
    content = inside.substr(0, stop);
    return (stop == inside.size() || inside[stop + 1] == '/') &&
           content.find('&') == content.npos &&
           (!document.hasCarriageReturn() || content.find('\r') == content.npos);
}

std::string_view elementContent(const XmlDocument& document, ElementId element,
                                std::string& storage) {
    std::string_view content;
    if (plainElementContent(document, element, content)) {
        return content;
    }
    storage.clear();
    appendElementContent(document, element, storage);
    return storage;
}

bool attributeValue(const XmlDocument& document, ElementId element, const NamePattern& pattern,
                    StringBuffer& value) {
    bool found = false;
    forEachAttribute(document, element, [&](std::string_view name, std::string_view text) {
        const bool matches = pattern.matches(name);
        if (matches && !value.setView(text)) {
            throw std::bad_alloc();
        }
        found = matches;
        return !matches;
    });
    return found;
}

void appendElementXml(const XmlDocument& document, ElementId element, std::string& out) {
    const ElementRecord& record = document.element(element);
    std::uint32_t copied = record.start;
    if (document.hasAttributeTypes()) {
        const ElementId behind = document.subtreeEnd(element);
        for (ElementId at = element; at < behind; ++at) {
            out.append(document.text(), copied, document.element(at).start - copied);
            copied = appendResolvedTag(document, at, out);
        }
    }
    out.append(document.text(), copied, record.end - copied);
}

std::string_view elementXml(const XmlDocument& document, ElementId element, std::string& storage) {
    if (!document.hasAttributeTypes()) {
        const ElementRecord& record = document.element(element);
        return document.text({record.start, record.end - record.start});
    }
    storage.clear();
    appendElementXml(document, element, storage);
    return storage;
}

void ElementPaths::numberChildren(ElementId parent) {
    struct Count {
        std::uint32_t seen = 0;
        ElementId first = kNoElement;
    };
    NameMap<Count> counts;
    for (ElementId child = m_document.firstChild(parent); child != kNoElement;
         child = m_document.nextChild(parent, child)) {
        ++m_work;
        const std::string_view name = m_document.qualifiedName(child);
        auto found = counts.find(name);
        if (found == counts.end()) {
            found = counts.emplace(std::string(name), Count()).first;
            found->second.first = child;
        }
        const std::uint32_t position = ++found->second.seen;
        m_positions[child] = position == 1 ? 0 : position;
        if (position == 2) {
            m_positions[found->second.first] = 1;
        }
    }
}

// A table of very many children takes ten times as long.
std::uint32_t ElementPaths::positionBySearch(ElementId parent, ElementId element) {
    const std::string_view name = m_document.qualifiedName(element);
    std::uint32_t seen = 0;
    std::uint32_t position = 0;
    for (ElementId child = m_document.firstChild(parent); child != kNoElement;
         child = m_document.nextChild(parent, child)) {
        ++m_work;
        seen += m_document.qualifiedName(child) == name ? 1 : 0;
        position = child == element ? seen : position;
    }
    return seen == 1 ? 0 : position;
}

std::uint32_t ElementPaths::position(ElementId element) {
    const ElementId parent = m_document.parent(element);
    if (parent == kNoElement) {
        return 0;
    }
    const auto known = m_positions.find(element);
    if (known != m_positions.end()) {
        return known->second;
    }
    if (m_searches[parent]++ < kMostSearches) {
        return m_positions[element] = positionBySearch(parent, element);
    }
    numberChildren(parent);
    return m_positions[element];
}

// The qualified name, of a longer one the first `most` bytes and one more.
std::string_view ElementPaths::nameUpTo(ElementId element, std::size_t most) const noexcept {
    const std::string_view text = m_document.text().substr(m_document.element(element).start + 1);
    std::size_t length = 0;
    while (length <= most && isNameByte(text[length])) {
        ++length;
    }
    return text.substr(0, length);
}

// Collects the steps of the path that lie at or above what it shows, the root last. False when the
// path was found to be cut before.
bool ElementPaths::climb(ElementId element, CutPaths& cutPaths) {
    m_steps.clear();
    auto known = cutPaths.end();
    for (ElementId at = element; at != kNoElement && known == cutPaths.end();
         at = m_document.parent(at)) {
        ++m_work;
        known = cutPaths.find(at);
        m_steps.push_back(at);
    }
    if (known == cutPaths.end()) {
        return true;
    }
    const ElementId last = known->second;
    rememberCut(m_steps.size() - 1, last, cutPaths);
    m_steps.clear();
    for (ElementId at = last; at != kNoElement; at = m_document.parent(at)) {
        ++m_work;
        m_steps.push_back(at);
    }
    return false;
}

// The paths of the first `count` steps show nothing below `last`, which is kNoElement where not
// even the root's name has room.
void ElementPaths::rememberCut(std::size_t count, ElementId last, CutPaths& cutPaths) {
    for (std::size_t i = 0; i < count; ++i) {
        cutPaths.emplace(m_steps[i], last);
    }
}

void ElementPaths::append(ElementId element, std::string& out) {
    const std::size_t limit = isShort() ? kShortPath : kMaxShownPath;
    CutPaths& cutPaths = isShort() ? m_cutShort : m_cutLong;
    bool whole = climb(element, cutPaths);
    const std::size_t start = out.size();
    ElementId shown = kNoElement;
    for (std::size_t left = m_steps.size(); left-- > 0;) {
        const std::size_t before = out.size();
        out.append("/").append(nameUpTo(m_steps[left], limit));
        if (const std::uint32_t place = position(m_steps[left]); place != 0) {
            out.append("[").append(std::to_string(place)).append("]");
        }
        if (out.size() - start > limit) {
            out.resize(before);
            rememberCut(left + 1, shown, cutPaths);
            whole = false;
            break;
        }
        shown = m_steps[left];
    }
    out.append(whole ? "" : "/...");
    countLong(out.size() - start);
}

void ElementPaths::appendName(ElementId element, std::string& out) {
    const std::size_t limit = isShort() ? kShortPath : kMaxShownPath;
    const std::string_view name = nameUpTo(element, limit);
    out.append(name.substr(0, limit)).append(name.size() > limit ? "..." : "");
    countLong(name.size());
}

} // namespace vantrel::xml
