// SPDX-License-Identifier: MIT
#ifndef DSIG_XADES_TIMESTAMP_IDENTIFIERS_H
#define DSIG_XADES_TIMESTAMP_IDENTIFIERS_H

#include "foundation/text/StringBuffer.h"

#include <cstdint>

namespace vantrel {

// The next number of the generator of identifiers, 1000 to 9998. It is seeded from the clock and
// shared by the process; two threads that draw at once may draw the same.
[[nodiscard]] std::uint32_t _idPart();

// Appends a fresh identifier for an XML Id attribute: four groups of four decimal digits, joined by
// hyphens. Identifiers are neither secret nor unique beyond doubt.
void appendXmlAttrId(StringBuffer& out);

} // namespace vantrel

#endif
