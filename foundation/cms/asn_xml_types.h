#ifndef FOUNDATION_CMS_ASN_XML_TYPES_H
#define FOUNDATION_CMS_ASN_XML_TYPES_H

#include <cstdint>
#include <string_view>

namespace vantrel::cms {

// How the contents of a type stand in the XML rendering (AsnXmlCodec.h).
enum class AsnXmlForm : std::uint8_t {
    Children,
    Boolean,
    Hex,
    Bits,
    Base64,
    Empty,
    Oid,
    Text,
    WideText // BMPString and UniversalString, as UTF-8
};

// An element name of the rendering and the universal type it stands for.
struct AsnXmlType {
    std::string_view name;
    std::uint32_t number;
    AsnXmlForm form;
};

// Null when there is none.
[[nodiscard]] const AsnXmlType* asnXmlTypeByNumber(std::uint32_t universalNumber) noexcept;
[[nodiscard]] const AsnXmlType* asnXmlTypeByName(std::string_view name) noexcept;

// The element names of elements that are known by class and number only: "universal",
// "application", "contextSpecific", "private", in the order of the class bits.
[[nodiscard]] std::string_view asnXmlClassName(unsigned classBits) noexcept;
// The class bits (0 to 3); -1 for any other name.
[[nodiscard]] int asnXmlClassByName(std::string_view name) noexcept;

} // namespace vantrel::cms

#endif
