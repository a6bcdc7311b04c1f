// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_REFERENCE_FORM_H
#define DSIG_DOCUMENT_REFERENCE_FORM_H

#include "foundation/text/StringBuffer.h"

#include <string_view>

namespace vantrel::dsig {

// The hash that a digest method names. What it was found out for is known by its storage.
struct NamedDigest {
    StringBuffer method;
    int hashAlg = 0; // hash_ids.h; 0 for none that is known by a part of its name
};

// The Reference element that was read last, but for its start tag and its digest: in a list of
// references the others mostly read the same there, and what it says is then known. The views are
// of the loaded text.
struct ReferenceForm {
    std::string_view head; // from behind its start tag to the digest; empty before the first
    std::string_view tail; // from behind the digest to its end
    StringBuffer transforms;
    NamedDigest digest;
};

} // namespace vantrel::dsig

#endif
