#ifndef DSIG_TRANSFORM_EBXML_FRAGMENTS_H
#define DSIG_TRANSFORM_EBXML_FRAGMENTS_H

#include "foundation/text/StringBuffer.h"

namespace vantrel::dsig {

// Removes the header blocks of an ebXML message that are addressed to the next actor, at most 13.
void removeEbXmlFragments(StringBuffer& xml);

} // namespace vantrel::dsig

#endif
