// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_KEYS_XML_ELEMENT_H
#define FOUNDATION_X509_KEYS_XML_ELEMENT_H

#include "foundation/xml/scan/xml_document.h"

#include <string>
#include <string_view>

namespace vantrel::x509 {

// One element of a parsed document, read by local names under any prefix. The document must outlive
// it.
class XmlElement final {
public:
    XmlElement() noexcept = default;
    XmlElement(const xml::XmlDocument& document, xml::ElementId id) noexcept
        : m_document(&document), m_id(id) {}

    [[nodiscard]] std::string_view localName() const noexcept {
        return m_document->localName(m_id);
    }

    // The first child with this local name.
    [[nodiscard]] bool child(std::string_view localName, XmlElement& out) const noexcept;
    // `value` := the attribute's normalised value.
    [[nodiscard]] bool attribute(std::string_view localName, std::string& value) const;
    // Appends the text directly in the element, references resolved..
    bool appendContent(std::string& out) const;

private:
    const xml::XmlDocument* m_document = nullptr;
    xml::ElementId m_id = 0;
};

} // namespace vantrel::x509

#endif
