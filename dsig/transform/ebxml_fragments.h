// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_EBXML_FRAGMENTS_H
#define DSIG_TRANSFORM_EBXML_FRAGMENTS_H

#include "dsig/transform/chunk_removal.h"
#include "foundation/xml/scan/xml_document.h"

#include <span>
#include <string_view>

namespace vantrel::dsig {

// The header blocks of an ebXML message that are addressed to the next actor, at most 13: what one
// removes who looks for the first, removes it, and goes on looking. `gaps` are not there. A message
// service handler on the way may add, change or remove such blocks (ebXML Message Service 2.0), so
// the sender's signature leaves them out. A block is recognised by an actor attribute in double
// quotes with the SOAP 1.1 or the ebXML name of that actor. The chunks are ascending by their start
// and begin and end outside the gaps; they need not be whole elements, which the caller has to
// prove before it removes them. `more`: the limit left others.
[[nodiscard]] FoundChunks findEbXmlFragments(std::string_view text,
                                             std::span<const xml::TextRange> gaps);

} // namespace vantrel::dsig

#endif
