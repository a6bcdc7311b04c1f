// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/document_scanner.h"

#include "foundation/text/xml_declaration.h"
#include "foundation/xml/scan/char_class.h"
#include "foundation/xml/scan/dtd_reader.h"
#include "foundation/xml/scan/entity_expander.h"
#include "foundation/xml/scan/references.h"

#include <algorithm>
#include <cstring>

namespace vantrel::xml {
namespace {

constexpr std::size_t kManyRecords = 1024;
constexpr std::size_t kMostFollowed = 1024; // open elements
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool equalsIgnoreCase(std::string_view text, std::string_view lower) noexcept {
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), [](char a, char b) {
        return (a >= 'A' && a <= 'Z' ? static_cast<char>(a + ('a' - 'A')) : a) == b;
    });
}

// One that a canonical form has as well.
bool isTidyReference(std::string_view rest) noexcept {
    return rest.starts_with("&amp;") || rest.starts_with("&lt;") || rest.starts_with("&gt;");
}

} // namespace

DocumentScanner::DocumentScanner(XmlDocument& document, Mode mode)
    : m_document(document), m_text(document.text().data()),
      m_size(static_cast<std::uint32_t>(document.text().size())), m_mode(mode),
      m_window(document.text()) {
    document.m_fragment = mode != Mode::Document;
    // Two prefixes are bound from the start: "" to no namespace, "xml" to its own.
    m_bound.reserve(16);
    m_bound.assign(m_document.m_prefixes.size(), kUnbound);
    m_bound[kXmlPrefix] = kBuiltIn;
    m_document.m_elements.reserve(std::min<std::size_t>(m_size / 16 + 16, 4096));
    m_open.reserve(256);
}

ScanOutcome DocumentScanner::scan() {
    std::uint32_t at = readProlog();
    if (at != kFailed) {
        m_rootStart = at;
        m_glances = m_glances && !m_checkTypes && !m_document.hasAttributeDefaults();
        if (m_follower != nullptr && m_document.m_documentType == nullptr) {
            m_toldNext = at + m_followed;
        }
        at = readStartTag(at);
    }
    if (at != kFailed && readContent(at) && readEpilog(at)) {
        m_window.checkUpTo(m_size);
        if (!m_window.facts().bad) {
            finish();
            return ScanOutcome::Done;
        }
        fail(m_size, "");
    }
    return m_needsExpansion ? ScanOutcome::NeedsExpansion : ScanOutcome::Refused;
}

// XML 1.0, production [22] prolog.
std::uint32_t DocumentScanner::readProlog() {
    std::uint32_t at = rest(0).starts_with(kByteOrderMark) ? 3 : 0;
    if (text::beginsXmlDeclaration(rest(at))) {
        at = readXmlDecl(at);
    }
    while (at != kFailed) {
        at = skipSpace(at);
        if (at >= m_size) {
            return fail(at, "The document has no root element");
        }
        if (m_text[at] != '<') {
            return fail(at, "Text stands before the root element");
        }
        if (isNameStartByte(m_text[at + 1])) {
            return at;
        }
        if (!rest(at).starts_with("<!DOCTYPE")) {
            at = readOtherMarkup(at);
        } else if (m_document.m_documentType == nullptr) {
            at = readDoctype(at);
        } else {
            return fail(at, "There is more than one document type declaration");
        }
    }
    return at;
}

// XML 1.0, production [23] XMLDecl. The encoding's name is checked for its form only: the text is
// UTF-8 already, and who decoded it judged the name (text/xml_encoding.h).
std::uint32_t DocumentScanner::readXmlDecl(std::uint32_t at) {
    const std::uint32_t start = at;
    text::XmlDeclaration declaration;
    const std::size_t length = text::readXmlDeclaration(rest(at), declaration);
    if (length == 0) {
        return fail(at, "The XML declaration is malformed");
    }
    m_standalone = declaration.standalone;
    m_document.m_xmlDeclRange = {start, static_cast<std::uint32_t>(length)};
    return start + static_cast<std::uint32_t>(length);
}

std::uint32_t DocumentScanner::readDoctype(std::uint32_t at) {
    auto type = std::make_unique<DocumentType>();
    DtdReader reader(m_document.text(), at, m_standalone);
    if (!reader.read(*type)) {
        return fail(reader.failureOffset(), reader.failureMessage());
    }
    m_document.m_documentType = std::move(type);
    m_document.m_doctypeRange = {at, reader.end() - at};
    m_checkTypes = m_document.hasAttributeTypes();
    return reader.end();
}

// Reads from behind the root's start tag to behind its end tag.
bool DocumentScanner::readContent(std::uint32_t& at) {
    while (!m_open.empty()) {
        at = m_window.find<kMarkupStops>(m_glances ? readKnownTags(at) : at);
        if (at >= m_size) [[unlikely]] {
            fail(at, "The document ends inside the element", nameOf(m_open.back()));
            return false;
        }
        if (m_text[at] != '<') [[unlikely]] {
            if (!isTidyReference(rest(at))) {
                m_document.noteUntidy(at);
            }
            at = readTextSpecial(at);
        } else if (m_text[at + 1] == '/') {
            at = readEndTag(at);
        } else if (isNameStartByte(m_text[at + 1])) [[likely]] {
            at = readStartTag(at);
        } else {
            m_document.noteUntidy(at);
            at = readOtherMarkup(at);
        }
        if (at == kFailed) [[unlikely]] {
            return false;
        }
        if (at >= m_toldNext) [[unlikely]] {
            tellFollower(at);
        }
    }
    return true;
}

void DocumentScanner::tellFollower(std::uint32_t at) {
    // Values that do not stand in the text as they are may move while more of them come.
    if (m_open.size() > kMostFollowed || !m_document.m_side.empty()) {
        m_toldNext = kNever;
        return;
    }
    m_toldNext = at + m_followed;
    m_document.m_hasCarriageReturn = m_window.facts().carriageReturn;
    for (const Open& open : m_open) {
        m_document.m_elements[open.element].end = kStillOpen | open.element;
    }
    m_follower->reached(m_document, m_document.m_elements.back().start);
}

bool DocumentScanner::readEpilog(std::uint32_t at) {
    while ((at = skipSpace(at)) < m_size) {
        if (m_text[at] == '<' && isNameStartByte(m_text[at + 1])) {
            fail(at, "There is a second root element");
            return false;
        }
        if (m_text[at] != '<' || m_text[at + 1] == '/') {
            fail(at, "Text stands behind the root element");
            return false;
        }
        if ((at = readOtherMarkup(at)) == kFailed) {
            return false;
        }
    }
    return true;
}

std::uint32_t DocumentScanner::closeElement(std::uint32_t end) noexcept {
    const Open& closed = m_open.back();
    while (m_rebound.size() > closed.reboundBefore) {
        m_bound[m_rebound.back().prefixId] = m_rebound.back().before;
        m_rebound.pop_back();
    }
    m_document.m_elements[closed.element].end = end;
    m_open.pop_back();
    return end;
}

std::uint32_t DocumentScanner::readEndTag(std::uint32_t at) {
    const Open& open = m_open.back();
    if (!rest(at + 2).starts_with(nameOf(open))) [[unlikely]] {
        return readOddEndTag(at);
    }
    const std::uint32_t behind = at + 2 + open.nameLength;
    if (m_text[behind] != '>') [[unlikely]] {
        return readOddEndTag(at);
    }
    return closeElement(behind + 1);
}

// An end tag with white space in it, or a wrong one.
std::uint32_t DocumentScanner::readOddEndTag(std::uint32_t at) {
    m_document.noteUntidy(at);
    const std::string_view name = nameOf(m_open.back());
    const std::size_t length = matchName(rest(at + 2));
    if (length == 0) {
        return fail(at, "The end tag has no name");
    }
    if (rest(at + 2).substr(0, length) != name) {
        return fail(at, "The end tag does not match the start tag of", name);
    }
    const std::uint32_t behind = skipSpace(at + 2 + static_cast<std::uint32_t>(length));
    if (behind >= m_size || m_text[behind] != '>') {
        return fail(behind, "The end tag is not closed by '>'");
    }
    return closeElement(behind + 1);
}

// Comment, processing instruction or CDATA section; anything else that begins with '<' is wrong.
std::uint32_t DocumentScanner::readOtherMarkup(std::uint32_t at) {
    const std::string_view here = rest(at);
    if (here.starts_with("<?")) {
        return readProcessingInstruction(at);
    }
    if (here.starts_with("<!--")) {
        return readComment(at);
    }
    if (here.starts_with("<![CDATA[") && !m_open.empty()) {
        const std::size_t end = here.find("]]>", 9);
        if (end == here.npos) {
            return fail(at, "The CDATA section is not closed");
        }
        return at + static_cast<std::uint32_t>(end) + 3;
    }
    return fail(at, "No markup may begin like this");
}

std::uint32_t DocumentScanner::readComment(std::uint32_t at) {
    const std::size_t length = matchComment(rest(at));
    if (length == 0) {
        return fail(at, "The comment is not closed, or contains \"--\"");
    }
    return at + static_cast<std::uint32_t>(length);
}

std::uint32_t DocumentScanner::readProcessingInstruction(std::uint32_t at) {
    std::string_view target;
    const std::size_t length = matchProcessingInstruction(rest(at), target);
    if (length == 0) {
        return fail(at, "The processing instruction is malformed");
    }
    if (equalsIgnoreCase(target, "xml")) {
        return fail(at, "The target of a processing instruction may not be \"xml\"");
    }
    return at + static_cast<std::uint32_t>(length);
}

std::uint32_t DocumentScanner::readTextSpecial(std::uint32_t at) {
    if (m_text[at] == '&') {
        return readReference(at, false);
    }
    if (closesCdata(m_text + at)) {
        return fail(at - 2, "Character data may not contain \"]]>\"");
    }
    return at + 1;
}

std::uint32_t DocumentScanner::readReference(std::uint32_t at, bool inAttribute) {
    const ReferenceForm form = matchReference(rest(at));
    switch (form.kind) {
    case ReferenceKind::Character:
    case ReferenceKind::Predefined: return at + form.length;
    case ReferenceKind::Entity:
        return readEntityReference(at, rest(at).substr(1, form.length - 2), inAttribute);
    case ReferenceKind::BadCharacter:
        return fail(at, "The character reference is to no XML character");
    case ReferenceKind::Malformed: break;
    }
    return fail(at, "'&' begins no reference");
}

// XML 1.0, 4.1 and 4.4. A reference to an entity of the internal subset has the text expanded.
std::uint32_t DocumentScanner::readEntityReference(std::uint32_t at, std::string_view name,
                                                   bool inAttribute) {
    if (m_mode == Mode::EntityText) {
        return at + static_cast<std::uint32_t>(name.size()) + 2;
    }
    const DocumentType* const type = m_document.documentType();
    const Entity* const entity = type == nullptr ? nullptr : type->findEntity(name);
    if (entity == nullptr) {
        return fail(at,
                    m_document.hasUnreadDeclarations() ? kUnreadEntity
                                                       : "Reference to an undeclared entity:",
                    name);
    }
    if (entity->unparsed) {
        return fail(at, "Reference to an unparsed entity:", name);
    }
    if (entity->external) {
        return inAttribute
                   ? fail(at, "Reference to an external entity in an attribute value:", name)
                   : fail(at, "Reference to an external entity, which is not fetched:", name);
    }
    if (m_document.isExpanded()) {
        return fail(at, "The reference stands where no reference may:", name);
    }
    m_needsExpansion = true;
    return kFailed;
}

void DocumentScanner::finish() {
    m_document.m_hasCarriageReturn = m_window.facts().carriageReturn;
    std::erase_if(m_document.m_signatures, [](const SignatureElement& signature) {
        const bool byName = signature.kind == SignatureKind::XmlDsig ||
                            signature.kind == SignatureKind::NoNamespace;
        return !byName && signature.signedInfoCount == 0;
    });
    // What a small document could give back is not worth the work.
    if (m_document.m_elements.size() > kManyRecords) {
        m_document.m_elements.shrink();
    }
    if (m_document.m_namespaces.size() > kManyRecords) {
        m_document.m_namespaces.shrink();
    }
    m_document.m_parents.build(m_document.elements());
}

std::uint32_t DocumentScanner::fail(std::uint32_t offset, std::string_view message) {
    m_window.checkUpTo(std::min(offset, m_size));
    m_failureOffset = offset;
    m_failureMessage = message;
    if (m_window.facts().bad) {
        const std::size_t bad = findBadCharacter(m_document.text());
        if (bad <= offset) {
            m_failureOffset = static_cast<std::uint32_t>(bad);
            m_failureMessage = "The bytes are not UTF-8, or no character that XML allows";
        }
    }
    return kFailed;
}

std::uint32_t DocumentScanner::fail(std::uint32_t offset, std::string_view message,
                                    std::string_view name) {
    fail(offset, message);
    if (m_failureMessage == message) {
        m_failureMessage.append(" ").append(name.substr(0, kShownName));
    }
    return kFailed;
}

std::uint32_t DocumentScanner::skipSpace(std::uint32_t at) const noexcept {
    while (at < m_size && isSpace(m_text[at])) {
        ++at;
    }
    return at;
}

} // namespace vantrel::xml
