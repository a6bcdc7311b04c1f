// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_SPLIT_TEXT_H
#define DSIG_REPORT_SPLIT_TEXT_H

#include "dsig/document/document.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace vantrel::dsig {

// Where texts of one element are in pieces for readers that take comments and CDATA sections for
// nodes of their own, as in "pay<!-- -->10", "<![CDATA[pay]]>10" or, where the first node is read,
// "<a><!-- -->10": offsets in `markup`, which is a whole element of a well-formed document. White
// space alone is no text. Canonical forms (without comments) are the same either way, so whoever
// has a signed document can divide its texts.
[[nodiscard]] TextSplits splitTexts(std::string_view markup);

// By what texts are divided.
struct SplitBy {
    bool comment = false;
    bool section = false;
};

// In these stretches of the document's loaded text; anywhere, where the text is one that entities
// were expanded in, since its places are then others. The document is gone over once, however often
// it is asked about.
[[nodiscard]] SplitBy splitsIn(Document& document, const std::vector<xml::TextRange>& stretches);

} // namespace vantrel::dsig

#endif
