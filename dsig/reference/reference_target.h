// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_REFERENCE_TARGET_H
#define DSIG_REFERENCE_REFERENCE_TARGET_H

#include "foundation/text/StringBuffer.h"
#include "foundation/text/strings.h"

#include <cstdint>
#include <string_view>

namespace vantrel::dsig {

// What a reference's URI points at. White space around the URI does not count. A fragment is "#"
// and what follows (XML Signature 1.1, 4.4.3.3), kept as written: percent signs are not decoded.
// "#" alone is a fragment with empty text, which names the document.
struct ReferenceTarget {
    enum class Kind : std::uint8_t { Document, Fragment, External };

    Kind kind = Kind::Document;
    StringBuffer text; // the fragment without its "#", or the external URI; empty for the document
};

// A URI with anything before its "#" is external as a whole, even when it names this very document:
// no base URI is known.
[[nodiscard]] inline ReferenceTarget targetOf(const StringBuffer& uri) {
    ReferenceTarget target;
    std::string_view text = text::trimmed(uri.view());
    if (text.starts_with('#')) {
        target.kind = ReferenceTarget::Kind::Fragment;
        text.remove_prefix(1);
    } else if (!text.empty()) {
        target.kind = ReferenceTarget::Kind::External;
    }
    target.text.setView(text);
    return target;
}

} // namespace vantrel::dsig

#endif
