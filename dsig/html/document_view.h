// SPDX-License-Identifier: MIT
#ifndef DSIG_HTML_DOCUMENT_VIEW_H
#define DSIG_HTML_DOCUMENT_VIEW_H

#include "dsig/html/places.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::dsig::html {

// A place in the text that the page points to. Several may stand at one place; they are shown in
// the order given.
struct Mark {
    std::size_t at = 0;
    std::string id;    // of the page's own making; empty for none
    std::string label; // HTML that stands there; empty for none
};

// Appends the document's text as lines with their numbers: each stretch in the class of its
// standing (standingClass), marks in their places, long lines broken before tags, what is left out
// said. `marks` in ascending order. The page's bound holds: what is shown is what shownParts says.
// Work grows with the text once and with the length of what is shown.
void appendDocumentText(std::string_view text, xml::TextRange root,
                        std::span<const Stretch> stretches, std::span<const Mark> marks,
                        std::string& out);

// The class of a stretch: "m5" for the colours 0 and 2, "br" broken, "sg" a signature's own markup,
// "ex" excluded, "vo" void, "un" covered by nothing, "pr" outside the root element; "... xx" for
// one that is covered by one signature and excluded from another. One class says it all, so that
// the style sheet needs no rule about combinations. The order of the questions is that of what a
// reader must not overlook.
[[nodiscard]] std::string standingClass(const Standing& standing);

} // namespace vantrel::dsig::html

#endif
