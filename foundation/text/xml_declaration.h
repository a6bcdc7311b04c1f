// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_XML_DECLARATION_H
#define FOUNDATION_TEXT_XML_DECLARATION_H

#include <cstddef>
#include <string_view>

namespace vantrel::text {

struct XmlDeclaration {
    std::string_view encoding; // a view into the text; empty when none is named
    bool standalone = false;
};

// True for a text that begins like an XML declaration; then it has to be one.
[[nodiscard]] bool beginsXmlDeclaration(std::string_view text) noexcept;

// XML 1.0, production [23] XMLDecl, at the beginning of `text`, however long it is: its length, or
// 0 when the text begins with none or with a malformed one. The one reader of declarations: who
// asks for the encoding and who checks the document never disagree.
[[nodiscard]] std::size_t readXmlDeclaration(std::string_view text,
                                             XmlDeclaration& declaration) noexcept;

} // namespace vantrel::text

#endif
