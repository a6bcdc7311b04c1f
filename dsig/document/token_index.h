// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_TOKEN_INDEX_H
#define DSIG_DOCUMENT_TOKEN_INDEX_H

#include "foundation/xml/scan/xml_document.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::dsig {

// The BinarySecurityToken elements of a document, found in one pass when the first is looked for.
class TokenIndex final {
public:
    // Keeps ids of the document, no references to it. Elements count by local name in any
    // namespace.
    explicit TokenIndex(const xml::XmlDocument& document);

    // The first token with this Id (an attribute of that local name), the first of all, and the
    // first with an X.509 certificate; kNoElement when there is none.
    [[nodiscard]] xml::ElementId withId(std::string_view id) const;
    [[nodiscard]] xml::ElementId first() const noexcept { return m_first; }
    [[nodiscard]] xml::ElementId firstX509() const noexcept { return m_firstX509; }

private:
    void add(const xml::XmlDocument& document, xml::ElementId token);

    // Ordered, not hashed: hostile Ids cannot make it slow.
    std::map<std::string, xml::ElementId, std::less<>> m_byId;
    xml::ElementId m_first = xml::kNoElement;
    xml::ElementId m_firstX509 = xml::kNoElement;
};

// Elements of one name inside others. A stretch of the document is searched once, however many
// elements inside it are asked about afterwards.
// One object serves one document: it remembers ids.
class ElementSearch final {
public:
    explicit ElementSearch(std::string_view localName) noexcept : m_name(localName) {}

    // For who knows that the document's text does not hold the name: there are none.
    void knowAbsent() noexcept { m_isAbsent = true; }
    // Whether the element is one, or holds one at any depth.
    [[nodiscard]] bool within(const xml::XmlDocument& document, xml::ElementId element);
    // The number of them, the element itself included.
    [[nodiscard]] std::size_t count(const xml::XmlDocument& document, xml::ElementId element);
    // Number of elements looked at so far.
    [[nodiscard]] std::uint64_t visited() const noexcept { return m_visited; }

private:
    void search(const xml::XmlDocument& document, xml::ElementId element);

    std::string_view m_name; // of static storage
    bool m_isAbsent = false;
    // The stretch of element ids that was searched last; empty at first.
    xml::ElementId m_from = 0;
    xml::ElementId m_to = 0; // behind the stretch that was searched
    // Of that stretch, ascending.
    std::vector<xml::ElementId> m_found;
    std::uint64_t m_visited = 0;
};

} // namespace vantrel::dsig

#endif
