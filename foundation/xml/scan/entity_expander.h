// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_ENTITY_EXPANDER_H
#define FOUNDATION_XML_SCAN_ENTITY_EXPANDER_H

#include "foundation/xml/scan/document_type.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace vantrel::xml {

inline constexpr std::string_view kEntityRecursion =
    "An entity refers to itself, or entities are nested too deep";
// It may hold anything for a reader that reads the declaration, so nothing can stand for it.
inline constexpr std::string_view kUnreadEntity =
    "Reference to an entity that may be declared in a part that is not read:";

// Account of the replacement text that is read while entities are expanded. Reading counts, not
// only what comes out: entities that expand to nothing cost time as well.
class ExpansionBudget final {
public:
    // Adds one reference to a text of `size` bytes. False, with the reason, when a limit is passed;
    // `declared` is the text of all entity declarations.
    [[nodiscard]] bool charge(std::uint64_t size, std::uint64_t declared, std::string& why);

private:
    std::uint64_t m_read = 0;
};

// Replaces the references to internal entities in the raw value of an attribute (XML 1.0, 3.3.3 and
// 4.4.5) and appends the result, which holds only character and predefined references, and stands
// for itself between quotes of either kind. False, with the reason, when an entity has no text
// here, and for any other fault.
[[nodiscard]] bool expandAttributeEntities(const DocumentType& type, std::string_view raw,
                                           ExpansionBudget& budget, std::string& out,
                                           std::string& why);

// Writes a document's text with its references to internal entities replaced.
class EntityExpander final {
public:
    // `contentStart` is the offset of the root's start tag: what stands before is copied.
    EntityExpander(std::string_view source, const DocumentType& type, std::uint32_t contentStart);

    // False: failureOffset() in the source and failureMessage() tell where and why. Text that is
    // not well-formed is copied as it is; reading the result will find the fault.
    [[nodiscard]] bool expand();
    [[nodiscard]] const std::string& text() const noexcept { return m_out; }
    [[nodiscard]] const std::vector<CopiedStretch>& segments() const noexcept { return m_segments; }
    [[nodiscard]] std::uint32_t failureOffset() const noexcept { return m_failureOffset; }
    [[nodiscard]] const std::string& failureMessage() const noexcept { return m_failureMessage; }

private:
    // What is being read: the source (no entity), or the replacement text of an entity.
    struct Input {
        std::string_view text;
        std::size_t at;
        const Entity* entity;
    };

    [[nodiscard]] bool readPiece();
    [[nodiscard]] bool readReference();
    [[nodiscard]] bool enterEntity(std::string_view name, const Entity& entity);
    [[nodiscard]] bool readTag();
    [[nodiscard]] bool checkReplacementText(const Entity& entity);
    void copy(std::size_t length);
    void copyCdata(std::size_t length);
    void copyLines(std::size_t length, std::string_view reference);
    void copyTag(std::size_t length);
    void copyText(std::size_t length);
    bool fail(std::string_view message);

    [[nodiscard]] Input& in() noexcept { return m_inputs.back(); }
    [[nodiscard]] bool inEntity() const noexcept { return m_inputs.size() > 1; }

    std::string_view m_source;
    const DocumentType& m_type;
    std::vector<Input> m_inputs;
    std::unordered_set<const Entity*> m_checked; // replacement text known to be balanced
    ExpansionBudget m_budget;
    std::string m_out;
    std::vector<CopiedStretch> m_segments;
    std::uint32_t m_failureOffset = 0;
    std::string m_failureMessage;
};

} // namespace vantrel::xml

#endif
