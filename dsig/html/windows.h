// SPDX-License-Identifier: MIT
#ifndef DSIG_HTML_WINDOWS_H
#define DSIG_HTML_WINDOWS_H

#include "dsig/html/places.h"

#include <span>
#include <string_view>
#include <vector>

namespace vantrel::dsig::html {

// Octets of a document that a page shows; of a larger one it shows parts. Chosen so that a browser
// shows the page without delay and a person can still read it.
inline constexpr std::size_t kMostShown = std::size_t{192} << 10;

// The parts of the text that are shown, in order and apart from each other: all of it where it is
// small, else its beginning, its end, and what stands around each change of standing, as far as
// the room goes. They begin and end at characters. Parts never overlap and the last one ends with
// the text; a view may rely on it. Places beyond the room are counted in the gaps.
[[nodiscard]] std::vector<xml::TextRange> shownParts(std::string_view text,
                                                     std::span<const Stretch> stretches);

} // namespace vantrel::dsig::html

#endif
