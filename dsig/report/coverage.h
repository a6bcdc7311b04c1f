// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_COVERAGE_H
#define DSIG_REPORT_COVERAGE_H

#include "dsig/report/element_list.h"
#include "foundation/xml/scan/xml_document.h"

#include <string_view>
#include <vector>

namespace vantrel::dsig {

// Why something inside the covered part was not digested.
namespace exclusion {
// XML Signature, 6.6.4: the signature that holds the reference.
inline constexpr std::string_view kEnvelopedSignature = "enveloped-signature";
// Signatures directly behind that one, which the standard would leave in.
inline constexpr std::string_view kEnvelopedExtra = "enveloped.extra-removed";
// By an expression of the document (XML Signature, 6.6.3, and XPath Filter 2.0): the signer says
// what is not signed, and the reader has to know.
inline constexpr std::string_view kXPath = "xpath";
inline constexpr std::string_view kXPathFilter2 = "xpath-filter2";
// The authentication block of a SWIFT message.
inline constexpr std::string_view kSwiftLau = "profile:swift-lau";
// What is added to a prescription after it was signed, or changes with each issue of it.
inline constexpr std::string_view kNhsPrescription = "profile:nhs-prescription";
// Child elements of a text that was decoded.
inline constexpr std::string_view kBase64 = "base64";
} // namespace exclusion

// A stretch of whole sibling elements that was not digested.
// One that came out of an entity has no place in the loaded text: its range is empty, and the
// coverage is not known (see below).
struct Exclusion {
    xml::ElementId element = xml::kNoElement; // the first of them, in the loaded document
    xml::TextRange range;                     // in the loaded text
    std::string_view why;                     // one of the codes above
};

// What of the loaded document a text stands for: the document, an element, or several elements one
// behind the other, but for what was taken out.
struct Coverage {
    bool wholeDocument = true;
    ElementList elements;            // unless it is the whole document
    std::vector<Exclusion> excluded; // in the order in which it was taken out
    bool known = true; // false: something was taken out that has no place in the loaded text

    // Nothing at all was digested, whatever it was taken from.
    void coverNothing() {
        wholeDocument = false;
        elements = {};
        excluded.clear();
    }
};

// Both ranges are in the same text; equal ones are inside each other.
[[nodiscard]] bool isInside(xml::TextRange inner, xml::TextRange outer) noexcept;
// Appends what is left of `whole` when the stretches `absent`, in any order, are not counted.
void appendWithout(xml::TextRange whole, std::vector<xml::TextRange> absent,
                   std::vector<xml::TextRange>& out);
// Every octet of `whole` lies in one of the stretches.
[[nodiscard]] bool coversAll(xml::TextRange whole, std::vector<xml::TextRange> covered);

} // namespace vantrel::dsig

#endif
