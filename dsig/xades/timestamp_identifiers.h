#ifndef DSIG_XADES_TIMESTAMP_IDENTIFIERS_H
#define DSIG_XADES_TIMESTAMP_IDENTIFIERS_H

#include "foundation/text/StringBuffer.h"

namespace vantrel::dsig {

// Appends a fresh identifier for an XML Id attribute: four groups of four decimal digits, joined by
// hyphens. The generator is seeded from the clock and shared by the process; identifiers are not
// secret, and two threads that draw at once may draw the same.
void appendXmlAttrId(StringBuffer& out);

} // namespace vantrel::dsig

#endif
