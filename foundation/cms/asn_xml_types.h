// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_ASN_XML_TYPES_H
#define FOUNDATION_CMS_ASN_XML_TYPES_H

#include <cstdint>
#include <string_view>

namespace vantrel::cms {

// How the contents of a type stand in the XML rendering (AsnXmlCodec.h).
enum class AsnXmlForm : std::uint8_t {
    Children, // constructed: one element after the other
    Boolean,  // "true" for FF, "false" for 00, the two values of DER
    Hex,      // two digits a byte: INTEGER and ENUMERATED, whose numbers may be of any length
    Bits,     // base64, without the leading byte that counts unused bits
    Base64,
    Empty, // no text and no contents
    Oid,
    Text,    // the bytes are the text
    WideText // BMPString and UniversalString, as UTF-8
};

// An element name of the rendering and the universal type it stands for.
struct AsnXmlType {
    std::string_view name;
    std::uint32_t number;
    AsnXmlForm form;
};

// The types of the rendering, found by their universal tag number (X.680 8.4) or their name. Null
// when there is none: then the element is written by class and number.
[[nodiscard]] const AsnXmlType* asnXmlTypeByNumber(std::uint32_t universalNumber) noexcept;
[[nodiscard]] const AsnXmlType* asnXmlTypeByName(std::string_view name) noexcept;

// The element names of elements that are known by class and number only: "universal",
// "application", "contextSpecific", "private", in the order of the class bits.
[[nodiscard]] std::string_view asnXmlClassName(unsigned classBits) noexcept;
// The class bits (0 to 3); -1 for any other name.
[[nodiscard]] int asnXmlClassByName(std::string_view name) noexcept;

} // namespace vantrel::cms

#endif
