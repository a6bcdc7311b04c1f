// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_SPLIT_TEXT_H
#define DSIG_REPORT_SPLIT_TEXT_H

#include "dsig/document/document.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace vantrel::dsig {

// Where comments stand between two pieces of text of one element, as in "pay<!-- -->10": offsets of
// the comments in `markup`, which is a whole element of a well-formed document. White space alone
// is no text. Such a text is one piece for some readers and two for others, and canonical forms
// without comments are the same either way.
[[nodiscard]] std::vector<std::uint32_t> commentsInText(std::string_view markup);

// The document has such a comment in one of the stretches of its loaded text; anywhere, where the
// text is one that entities were expanded in, since its places are then others. The document is
// gone over once, however often it is asked about.
[[nodiscard]] bool hasCommentInText(Document& document,
                                    const std::vector<xml::TextRange>& stretches);

} // namespace vantrel::dsig

#endif
