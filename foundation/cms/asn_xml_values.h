// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_ASN_XML_VALUES_H
#define FOUNDATION_CMS_ASN_XML_VALUES_H

#include "foundation/cms/asn_xml_types.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::cms {

// The values of primitive elements, from octets to text and back. The two directions check each
// other: a text is used only where reading it gives the same octets again, so that a rendering
// loses nothing.

// Appends the text of a primitive value in the form of its type, markup characters escaped. False,
// with `out` unchanged, when the form cannot carry these contents exactly. `unused` is the number
// of unused bits, of a BIT STRING.
[[nodiscard]] bool appendValueText(const AsnXmlType& type, ByteView contents, std::string& out,
                                   unsigned& unused);

// The inverse: appends the contents octets that the text (references resolved) stands for. False
// when it is not of that form; `out` may then have grown. White space around a word, a number or an
// identifier is passed over, since people edit renderings; in a text it counts.
[[nodiscard]] bool appendValueBytes(const AsnXmlType& type, std::string_view text, unsigned unused,
                                    std::vector<std::uint8_t>& out);

// Base64 of any contents, and back.
[[nodiscard]] bool appendBase64Text(ByteView contents, std::string& out);
[[nodiscard]] bool appendBase64Bytes(std::string_view text, std::vector<std::uint8_t>& out);

} // namespace vantrel::cms

#endif
