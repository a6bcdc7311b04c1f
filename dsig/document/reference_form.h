// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_REFERENCE_FORM_H
#define DSIG_DOCUMENT_REFERENCE_FORM_H

#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/element_id.h"

#include <cstddef>
#include <string_view>
#include <vector>

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

// References of one signature, one behind the other, that read the same but for the Id that they
// name and the digest (dsig/reference/repeated_reference.h). The views are of the loaded text.
struct RepeatedRun {
    struct Parts {
        std::string_view uri; // "#" and the Id, which holds no markup
        std::string_view digest;

        [[nodiscard]] std::string_view id() const noexcept { return uri.substr(1); }
    };

    xml::ElementId signature = xml::kNoElement;
    std::size_t first = 0; // index of the first
    std::string_view
        head; // of each, up to the Id; its place tells one run's references from others
    std::string_view tail; // behind the digest
    std::vector<Parts> parts;
};

} // namespace vantrel::dsig

#endif
