// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/char_class.h"
#include "foundation/xml/scan/dtd_reader.h"
#include "foundation/xml/scan/limits.h"
#include "foundation/xml/scan/values.h"

namespace vantrel::xml {
namespace {

struct TypeName {
    std::string_view name;
    AttributeType type;
};

// XML 1.0, productions [55] and [56]; a longer name stands before one that it begins with.
constexpr TypeName kTypeNames[] = {
    {"CDATA", AttributeType::Cdata},        {"IDREFS", AttributeType::Tokenized},
    {"IDREF", AttributeType::Tokenized},    {"ID", AttributeType::Id},
    {"ENTITIES", AttributeType::Tokenized}, {"ENTITY", AttributeType::Tokenized},
    {"NMTOKENS", AttributeType::Tokenized}, {"NMTOKEN", AttributeType::Tokenized},
};

bool isRepetition(char c) noexcept { return c == '?' || c == '*' || c == '+'; }

} // namespace

// XML 1.0, production [45] elementdecl. Without validation only its form matters.
bool DtdReader::readElement() {
    std::string_view name;
    if (!requireSpace() || !readName(name, true) || !requireSpace()) {
        return false;
    }
    if (!take("EMPTY") && !take("ANY")) {
        if (!take("(")) {
            return fail("A content model is expected");
        }
        skipSpace();
        if (!(take("#PCDATA") ? readMixed() : readContentModel())) {
            return false;
        }
    }
    skipSpace();
    return closeDeclaration();
}

// [51] Mixed, behind "#PCDATA".
bool DtdReader::readMixed() {
    bool named = false;
    for (skipSpace(); take("|"); skipSpace()) {
        std::string_view name;
        skipSpace();
        if (!readName(name, true)) {
            return false;
        }
        named = true;
    }
    if (!take(")")) {
        return fail("The mixed content model is not closed");
    }
    const bool starred = take("*");
    return starred || !named || fail("A mixed content model with names ends in \")*\"");
}

// [47] children, behind its first '('. The stack holds the separator of each open group, 0 while it
// is not known.
bool DtdReader::readContentModel() {
    std::vector<char> groups(1, '\0');
    while (!groups.empty()) {
        skipSpace();
        if (take("(")) {
            if (groups.size() >= kMaxModelNesting) {
                return fail("Limit passed: the nesting of a content model");
            }
            groups.push_back('\0');
            continue;
        }
        std::string_view name;
        if (!readName(name, true)) {
            return false;
        }
        in().at += isRepetition(peek()) ? 1 : 0;
        for (skipSpace(); !groups.empty() && take(")"); skipSpace()) {
            groups.pop_back();
            in().at += isRepetition(peek()) ? 1 : 0;
        }
        if (groups.empty()) {
            break;
        }
        const char separator = peek();
        if ((separator != ',' && separator != '|') ||
            (groups.back() != '\0' && groups.back() != separator)) {
            return fail("The content model is malformed");
        }
        groups.back() = separator;
        ++in().at;
    }
    return true;
}

// [52] AttlistDecl
bool DtdReader::readAttributeList() {
    std::string_view element;
    if (!requireSpace() || !readName(element, true)) {
        return false;
    }
    DocumentType::AttributeList ignored;
    DocumentType::AttributeList& list =
        m_processing ? m_type->m_attributes[std::string(element)] : ignored;
    for (;;) {
        const bool spaced = skipSpace();
        if (take(">")) {
            return true;
        }
        if (!spaced) {
            return fail("White space is missing in an attribute list");
        }
        if (!readAttribute(list)) {
            return false;
        }
    }
}

// [53] AttDef. The first declaration of an attribute counts.
bool DtdReader::readAttribute(DocumentType::AttributeList& attributes) {
    std::string_view name;
    DeclaredAttribute attribute;
    if (!readName(name, true) || !requireSpace() || !readAttributeType(attribute.type) ||
        !requireSpace() || !readDefault(attribute)) {
        return false;
    }
    attribute.name = name;
    const auto position = static_cast<std::uint32_t>(attributes.list.size());
    if (attributes.byName.try_emplace(attribute.name, position).second) {
        m_type->m_hasDefaults |= attribute.hasDefault && m_processing;
        attributes.list.push_back(std::move(attribute));
    }
    return true;
}

// [54] AttType
bool DtdReader::readAttributeType(AttributeType& type) {
    for (const TypeName& candidate : kTypeNames) {
        if (take(candidate.name)) {
            type = candidate.type;
            return true;
        }
    }
    type = AttributeType::Tokenized;
    if (take("NOTATION")) {
        return requireSpace() && readEnumeration(true);
    }
    return readEnumeration(false);
}

// [58] NotationType (names), [59] Enumeration (name tokens)
bool DtdReader::readEnumeration(bool names) {
    if (!take("(")) {
        return fail("An attribute type is expected");
    }
    do {
        skipSpace();
        const std::size_t length = names ? matchName(rest()) : matchNmtoken(rest());
        if (length == 0) {
            return fail("A name token is expected in an enumeration");
        }
        in().at += length;
        skipSpace();
    } while (take("|"));
    return take(")") || fail("The enumeration is not closed");
}

// [60] DefaultDecl
bool DtdReader::readDefault(DeclaredAttribute& attribute) {
    if (take("#REQUIRED") || take("#IMPLIED")) {
        return true;
    }
    std::string_view raw;
    if ((take("#FIXED") && !requireSpace()) || !readLiteral(raw)) {
        return false;
    }
    if (raw.find('<') != raw.npos) {
        return fail("A default value may not contain '<'");
    }
    std::string expanded;
    std::string why;
    if (!expandAttributeEntities(*m_type, raw, m_budget, expanded, why)) {
        return fail(why);
    }
    attribute.hasDefault = true;
    appendAttributeValue(expanded, attribute.type, attribute.value);
    return true;
}

} // namespace vantrel::xml
