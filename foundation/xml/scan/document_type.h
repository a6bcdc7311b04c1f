// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_DOCUMENT_TYPE_H
#define FOUNDATION_XML_SCAN_DOCUMENT_TYPE_H

#include "foundation/xml/scan/hash_bytes.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel::xml {

// The declared type of an attribute, as far as it matters without validation: every type but CDATA
// has its value trimmed and its inner spaces collapsed (XML 1.0, 3.3.3).
enum class AttributeType : std::uint8_t { Cdata, Id, Tokenized };

// One attribute of an attribute-list declaration.
struct DeclaredAttribute {
    std::string name; // qualified, as written
    AttributeType type = AttributeType::Cdata;
    bool hasDefault = false;
    std::string value; // the default, normalised for the type
};

// A general entity of the internal subset.
struct Entity {
    std::string text;      // replacement text of an internal entity
    bool external = false; // has a system identifier; never fetched
    bool unparsed = false; // has a notation
};

struct StringHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept { return hashBytes(text); }
};
template <class T> using NameMap = std::unordered_map<std::string, T, StringHash, std::equal_to<>>;

// What the document type declaration says, external parts unread.
class DocumentType final {
public:
    // The attributes declared for an element type, in the order of their declarations.
    [[nodiscard]] std::span<const DeclaredAttribute> declaredAttributes(
        std::string_view element) const noexcept;
    [[nodiscard]] AttributeType attributeType(std::string_view element,
                                              std::string_view attribute) const noexcept;
    [[nodiscard]] bool hasAttributeDefaults() const noexcept { return m_hasDefaults; }
    [[nodiscard]] bool hasAttributeTypes() const noexcept { return !m_attributes.empty(); }
    // True when declarations may exist that were not read: an external subset is named, or a
    // parameter entity is referenced that is external or not known. That a document claims to stand
    // alone changes nothing: readers that read the rest do not look at the claim.
    [[nodiscard]] bool hasUnreadDeclarations() const noexcept { return m_unreadDeclarations; }
    [[nodiscard]] const Entity* findEntity(std::string_view name) const noexcept;
    // Bytes of the replacement texts of all entities, parameter entities included.
    [[nodiscard]] std::uint64_t entityTextSize() const noexcept { return m_entityTextSize; }

private:
    friend class DtdReader;

    struct AttributeList {
        std::vector<DeclaredAttribute> list;
        NameMap<std::uint32_t> byName; // index in the list
    };

    NameMap<AttributeList> m_attributes; // by element type
    NameMap<Entity> m_entities;
    std::uint64_t m_entityTextSize = 0; // bytes of all internal entities
    bool m_hasDefaults = false;
    bool m_unreadDeclarations = false;
};

} // namespace vantrel::xml

#endif
