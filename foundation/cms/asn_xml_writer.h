// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_ASN_XML_WRITER_H
#define FOUNDATION_CMS_ASN_XML_WRITER_H

#include "foundation/text/byte_view.h"

#include <string>

namespace vantrel::cms {

// From BER to the rendering, in one pass over the bytes and without recursion.

// Appends the XML rendering of the one BER element that `ber` holds, with every departure from DER
// noted (AsnXmlCodec.h). False when the bytes are not BER, hold more than one element, or nest
// deeper than asn1::kMaxNesting. May throw std::bad_alloc.
[[nodiscard]] bool writeAsnXml(ByteView ber, std::string& out);

} // namespace vantrel::cms

#endif
