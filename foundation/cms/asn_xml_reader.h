// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_ASN_XML_READER_H
#define FOUNDATION_CMS_ASN_XML_READER_H

#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <vector>

namespace vantrel::cms {

// From the rendering to BER: the inverse of asn_xml_writer.h. The rendering may come from anywhere,
// so nothing in it is believed.

// Appends the BER of an element of a rendering (AsnXmlCodec.h), with its subtree. False, `out` in
// any state, when it is not of that form or nests deeper than asn1::kMaxNesting. May throw
// std::bad_alloc.
[[nodiscard]] bool readAsnXml(const xml::XmlDocument& document, xml::ElementId element,
                              std::vector<std::uint8_t>& out);

} // namespace vantrel::cms

#endif
