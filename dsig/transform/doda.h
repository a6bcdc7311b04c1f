// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_DODA_H
#define DSIG_TRANSFORM_DODA_H

#include "dsig/transform/profile_markers.h"
#include "foundation/text/strings.h"
#include "foundation/xml/scan/xml_document.h"

#include <string_view>

namespace vantrel::dsig {

// Where the doda element of such a document stands: from the first start tag to the end tag behind
// it; empty when there is none. The element counts only with a start tag that has no attributes and
// no prefix, as its signers write it. A second one is not looked at; an inner element of the same
// name would make the range end too early, which WorkingText::cutDownTo refuses, as it does the
// empty range.
[[nodiscard]] inline xml::TextRange dodaRange(std::string_view text) {
    const std::size_t start = text::findText(text, marker::kDodaStart);
    const std::size_t end =
        start == std::string_view::npos ? start : text::findText(text, marker::kDodaEnd, start);
    return end == std::string_view::npos ? xml::TextRange{}
                                         : xml::rangeOf(start, end + marker::kDodaEnd.size());
}

} // namespace vantrel::dsig

#endif
