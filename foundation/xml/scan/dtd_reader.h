// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_DTD_READER_H
#define FOUNDATION_XML_SCAN_DTD_READER_H

#include "foundation/xml/scan/document_type.h"
#include "foundation/xml/scan/entity_expander.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::xml {

// Reads a document type declaration with its internal subset (XML 1.0, 2.8, 3.2, 3.3, 4.2, 4.7).
// Replacement texts of parameter entities are read where they are referenced, from a stack of
// inputs; external parts are noted and not fetched.
class DtdReader final {
public:
    // `start` is the offset of "<!DOCTYPE" in `text`, which need not be valid UTF-8.
    DtdReader(std::string_view text, std::uint32_t start, bool standalone);

    // False: failureOffset() in the text and failureMessage() tell where and why.
    [[nodiscard]] bool read(DocumentType& type);
    // Offset behind the '>' that closes the declaration.
    [[nodiscard]] std::uint32_t end() const noexcept { return m_end; }
    [[nodiscard]] std::uint32_t failureOffset() const noexcept { return m_failureOffset; }
    [[nodiscard]] std::string_view failureMessage() const noexcept { return m_failureMessage; }

private:
    struct ParameterEntity {
        std::string text;
        bool external = false;
        bool open = false; // being read
    };
    // What is being read: the document's text, or the replacement text of a parameter entity.
    struct Input {
        std::string_view text;
        std::size_t at;
        ParameterEntity* entity; // null for the document
    };

    [[nodiscard]] bool readSubset();
    [[nodiscard]] bool readDeclaration();
    [[nodiscard]] bool readParameterReference();
    [[nodiscard]] bool readElement();
    [[nodiscard]] bool readContentModel();
    [[nodiscard]] bool readMixed();
    [[nodiscard]] bool readAttributeList();
    [[nodiscard]] bool readAttribute(DocumentType::AttributeList& attributes);
    [[nodiscard]] bool readAttributeType(AttributeType& type);
    [[nodiscard]] bool readEnumeration(bool names);
    [[nodiscard]] bool readDefault(DeclaredAttribute& attribute);
    [[nodiscard]] bool readEntity();
    [[nodiscard]] bool readEntityDefinition(bool parameter, std::string_view name);
    [[nodiscard]] bool readEntityValue(std::string& value);
    [[nodiscard]] bool readNotation();
    // ExternalID; with `publicOnly` also a PublicID, which lacks the system literal.
    [[nodiscard]] bool readExternalId(bool publicOnly);
    [[nodiscard]] bool readLiteral(std::string_view& value);
    [[nodiscard]] bool readPublicLiteral();
    [[nodiscard]] bool readName(std::string_view& name, bool colonAllowed);
    [[nodiscard]] bool closeDeclaration();

    // The input being read.
    [[nodiscard]] Input& in() noexcept { return m_inputs.back(); }
    [[nodiscard]] std::string_view rest() noexcept { return in().text.substr(in().at); }
    [[nodiscard]] char peek() noexcept {
        return in().at < in().text.size() ? in().text[in().at] : '\0';
    }
    bool skipSpace() noexcept;
    bool take(std::string_view literal) noexcept;
    [[nodiscard]] bool requireSpace();
    bool fail(std::string_view message);

    DocumentType* m_type = nullptr;
    NameMap<ParameterEntity> m_parameters;
    std::vector<Input> m_inputs;
    ExpansionBudget m_budget;
    bool m_standalone;
    bool m_processing = true; // false behind a parameter reference that was not followed
    std::uint32_t m_end = 0;
    std::uint32_t m_failureOffset = 0;
    std::string m_failureMessage;
};

} // namespace vantrel::xml

#endif
