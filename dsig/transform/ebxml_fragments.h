#ifndef DSIG_TRANSFORM_EBXML_FRAGMENTS_H
#define DSIG_TRANSFORM_EBXML_FRAGMENTS_H

#include "dsig/transform/chunk_removal.h"
#include "foundation/xml/scan/xml_document.h"

#include <span>
#include <string_view>

namespace vantrel::dsig {

// The header blocks of an ebXML message that are addressed to the next actor, at most 13: what one
// removes who looks for the first, removes it, and goes on looking. `gaps` are not there.
[[nodiscard]] FoundChunks findEbXmlFragments(std::string_view text,
                                             std::span<const xml::TextRange> gaps);

} // namespace vantrel::dsig

#endif
