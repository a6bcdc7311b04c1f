// SPDX-License-Identifier: MIT
#ifndef TESTS_DSIG_TRUTH_PLACES_H
#define TESTS_DSIG_TRUTH_PLACES_H

#include "foundation/json/json_value.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Where a document can be changed so that its content changes, and what a report says of the place.
namespace vantrel::test {

// The octets of character data and of attribute values, one a character (its last), in order.
// Namespace declarations are no attributes (XPath 1.0, 5.4), and exclusive canonicalization passes
// over those that it does not need; comments, instructions and declarations are no content.
[[nodiscard]] std::vector<std::size_t> contentPlaces(std::string_view xml);
// Puts another character there, never one of the same meaning: no form of base64, hexadecimal or
// a character reference makes them equal.
void changeContent(std::string& xml, std::size_t place);

// What a signature's report says of each octet of the loaded text.
class ClaimedCoverage {
public:
    // `text`: as it was loaded, UTF-8 without a byte-order mark.
    ClaimedCoverage(std::string_view text, const json::JsonValue& report);

    // Digested by a reference, part of the signature value, or what that is computed over.
    [[nodiscard]] bool holds(std::size_t place) const { return m_covered[place]; }
    // What the report names and the document does not have; empty for a sound one.
    [[nodiscard]] const std::string& fault() const noexcept { return m_fault; }

private:
    void claim(const json::JsonValue& reference);
    void claimElement(std::string_view path, std::vector<bool>& octets);
    void claimSignature(const json::JsonValue& report);
    void claimText(xml::ElementId element);
    bool check(bool holds, const std::string& fault);
    [[nodiscard]] xml::ElementId find(std::string_view path) const;

    std::string_view m_text;
    std::shared_ptr<const xml::XmlDocument> m_document;
    std::vector<std::string> m_paths; // by element
    std::vector<bool> m_covered;
    std::string m_fault;
};

} // namespace vantrel::test

#endif
