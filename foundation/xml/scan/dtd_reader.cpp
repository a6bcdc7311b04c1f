// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/dtd_reader.h"

#include "foundation/xml/scan/char_class.h"
#include "foundation/xml/scan/references.h"

#include <algorithm>

namespace vantrel::xml {

DtdReader::DtdReader(std::string_view text, std::uint32_t start, bool standalone)
    : m_inputs{{text, start, nullptr}}, m_standalone(standalone) {}

// XML 1.0, production [28] doctypedecl.
bool DtdReader::read(DocumentType& type) {
    m_type = &type;
    std::string_view name;
    in().at += std::string_view("<!DOCTYPE").size();
    if (!requireSpace() || !readName(name, true)) {
        return false;
    }
    const bool spaced = skipSpace();
    if (peek() == 'S' || peek() == 'P') {
        if (!spaced || !readExternalId(false)) {
            return spaced ? false : fail("White space is missing in a declaration");
        }
        type.m_unreadDeclarations = true;
        skipSpace();
    }
    if (take("[")) {
        if (!readSubset()) {
            return false;
        }
        skipSpace();
    }
    if (!closeDeclaration()) {
        return false;
    }
    m_end = static_cast<std::uint32_t>(in().at);
    return true;
}

// [28b] intSubset up to its ']'. A replacement text holds whole declarations, so each input is read
// to its end before the one below goes on.
bool DtdReader::readSubset() {
    for (;;) {
        skipSpace();
        if (in().at >= in().text.size()) {
            if (m_inputs.size() == 1) {
                return fail("The document type declaration is not closed");
            }
            in().entity->open = false;
            m_inputs.pop_back();
            continue;
        }
        if (m_inputs.size() == 1 && take("]")) {
            return true;
        }
        if (!(peek() == '%' ? readParameterReference() : readDeclaration())) {
            return false;
        }
    }
}

bool DtdReader::readDeclaration() {
    std::string_view target;
    if (rest().starts_with("<!--")) {
        const std::size_t length = matchComment(rest());
        in().at += length;
        return length != 0 || fail("A comment in a declaration is malformed");
    }
    if (rest().starts_with("<?")) {
        const std::size_t length = matchProcessingInstruction(rest(), target);
        const bool reserved = target.size() == 3 && (target[0] | 0x20) == 'x' &&
                              (target[1] | 0x20) == 'm' && (target[2] | 0x20) == 'l';
        in().at += length;
        return (length != 0 && !reserved) ||
               fail("A processing instruction in a declaration is malformed");
    }
    if (take("<!ELEMENT")) {
        return readElement();
    }
    if (take("<!ATTLIST")) {
        return readAttributeList();
    }
    if (take("<!ENTITY")) {
        return readEntity();
    }
    if (take("<!NOTATION")) {
        return readNotation();
    }
    return fail("A declaration is expected");
}

// [69] PEReference between declarations. What is not read may have declared anything first, so the
// entities and attributes declared behind it are not processed (XML 1.0, 5.1), unless the document
// stands alone. A reference to such an entity is then one to an undeclared entity, and refused;
// attribute defaults are not applied, and unread declarations are a fact of the document.
bool DtdReader::readParameterReference() {
    std::string_view name;
    ++in().at;
    if (!readName(name, false) || !take(";")) {
        return fail("The reference to a parameter entity is malformed");
    }
    const auto found = m_parameters.find(name);
    if (found == m_parameters.end() || found->second.external) {
        m_type->m_unreadDeclarations = true;
        m_processing = m_processing && m_standalone;
        return true;
    }
    ParameterEntity& entity = found->second;
    if (entity.open) {
        return fail("A parameter entity refers to itself");
    }
    std::string why;
    if (!m_budget.charge(entity.text.size(), m_type->m_entityTextSize, why)) {
        return fail(why);
    }
    entity.open = true;
    m_inputs.push_back({entity.text, 0, &entity});
    return true;
}

// [70] EntityDecl
bool DtdReader::readEntity() {
    std::string_view name;
    if (!requireSpace()) {
        return false;
    }
    const bool parameter = take("%");
    if ((parameter && !requireSpace()) || !readName(name, false) || !requireSpace() ||
        !readEntityDefinition(parameter, name)) {
        return false;
    }
    skipSpace();
    return closeDeclaration();
}

// [73] EntityDef, [74] PEDef. The first declaration of a name counts.
bool DtdReader::readEntityDefinition(bool parameter, std::string_view name) {
    Entity entity;
    if (peek() == '"' || peek() == '\'') {
        if (!readEntityValue(entity.text)) {
            return false;
        }
    } else {
        entity.external = true;
        if (!readExternalId(false)) {
            return false;
        }
        const bool spaced = skipSpace();
        if (!parameter && spaced && take("NDATA")) {
            std::string_view notation;
            entity.unparsed = true;
            if (!requireSpace() || !readName(notation, false)) {
                return false;
            }
        }
    }
    if (!m_processing) {
        return true;
    }
    m_type->m_entityTextSize += entity.text.size();
    if (parameter) {
        m_parameters.try_emplace(std::string(name),
                                 ParameterEntity{std::move(entity.text), entity.external, false});
    } else {
        m_type->m_entities.try_emplace(std::string(name), std::move(entity));
    }
    return true;
}

// [9] EntityValue: character references are replaced, references to general entities stay, and
// parameter entities may not be referenced inside a declaration of the internal subset.
bool DtdReader::readEntityValue(std::string& value) {
    std::string_view raw;
    if (!readLiteral(raw)) {
        return false;
    }
    for (std::size_t at = 0; at < raw.size();) {
        const char c = raw[at];
        if (c == '%') {
            return fail("A parameter entity is referenced inside a declaration");
        }
        if (c == '\r') {
            value.push_back('\n');
            at += raw.substr(at).starts_with("\r\n") ? 2 : 1;
            continue;
        }
        if (c != '&') {
            value.push_back(c);
            ++at;
            continue;
        }
        const ReferenceForm form = matchReference(raw.substr(at));
        if (form.kind == ReferenceKind::Malformed || form.kind == ReferenceKind::BadCharacter) {
            return fail("A reference in an entity value is malformed");
        }
        if (form.kind == ReferenceKind::Character) {
            char bytes[4];
            value.append(bytes, encodeUtf8(form.value, bytes));
        } else {
            value.append(raw, at, form.length);
        }
        at += form.length;
    }
    return true;
}

// [82] NotationDecl
bool DtdReader::readNotation() {
    std::string_view name;
    if (!requireSpace() || !readName(name, false) || !requireSpace() || !readExternalId(true)) {
        return false;
    }
    skipSpace();
    return closeDeclaration();
}

// [75] ExternalID, [83] PublicID
bool DtdReader::readExternalId(bool publicOnly) {
    std::string_view system;
    if (take("SYSTEM")) {
        return requireSpace() && readLiteral(system);
    }
    if (!take("PUBLIC")) {
        return fail("An external identifier is expected");
    }
    if (!requireSpace() || !readPublicLiteral()) {
        return false;
    }
    const bool spaced = skipSpace();
    if (publicOnly && peek() != '"' && peek() != '\'') {
        return true;
    }
    return spaced ? readLiteral(system) : fail("White space is missing before a system identifier");
}

bool DtdReader::readLiteral(std::string_view& value) {
    const char quote = peek();
    if (quote != '"' && quote != '\'') {
        return fail("A quoted literal is expected");
    }
    const std::size_t end = in().text.find(quote, in().at + 1);
    if (end == std::string_view::npos) {
        return fail("A literal is not closed");
    }
    value = in().text.substr(in().at + 1, end - in().at - 1);
    in().at = end + 1;
    return true;
}

// [12] PubidLiteral
bool DtdReader::readPublicLiteral() {
    std::string_view value;
    if (!readLiteral(value)) {
        return false;
    }
    const auto allowed = [](char c) {
        return (kByteClasses[static_cast<unsigned char>(c)] & kPubidByte) != 0;
    };
    return std::all_of(value.begin(), value.end(), allowed) ||
           fail("A public identifier contains a character that it may not");
}

bool DtdReader::readName(std::string_view& name, bool colonAllowed) {
    const std::size_t length = matchName(rest());
    name = rest().substr(0, length);
    if (length == 0) {
        return fail("A name is expected in a declaration");
    }
    if (!colonAllowed && name.find(':') != name.npos) {
        return fail("The name of an entity or notation may not contain a colon");
    }
    in().at += length;
    return true;
}

bool DtdReader::closeDeclaration() {
    return take(">") || fail("A declaration is not closed by '>'");
}

bool DtdReader::skipSpace() noexcept {
    const std::size_t start = in().at;
    while (in().at < in().text.size() && isSpace(in().text[in().at])) {
        ++in().at;
    }
    return in().at != start;
}

bool DtdReader::take(std::string_view literal) noexcept {
    if (!rest().starts_with(literal)) {
        return false;
    }
    in().at += literal.size();
    return true;
}

bool DtdReader::requireSpace() {
    return skipSpace() || fail("White space is expected in a declaration");
}

bool DtdReader::fail(std::string_view message) {
    if (m_failureMessage.empty()) {
        m_failureOffset = static_cast<std::uint32_t>(m_inputs.front().at);
        m_failureMessage = message;
    }
    return false;
}

} // namespace vantrel::xml
