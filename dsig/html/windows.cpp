// SPDX-License-Identifier: MIT
#include "dsig/html/windows.h"

#include "dsig/html/escape.h"

#include <algorithm>

namespace vantrel::dsig::html {

namespace {

// The beginning tells what document it is; the end is where many signatures stand.
constexpr std::size_t kBeginning = std::size_t{16} << 10;
constexpr std::size_t kEnd = std::size_t{4} << 10;
constexpr std::size_t kAround = 1000; // before and behind a place

// A part from `start` to `end`, one with those that it meets. Parts come in ascending order, but
// for the end of the text, which may begin ahead of the last place.
void append(std::size_t start, std::size_t end, std::vector<xml::TextRange>& parts) {
    while (!parts.empty() && start <= parts.back().end()) {
        start = std::min<std::size_t>(start, parts.back().start);
        end = std::max<std::size_t>(end, parts.back().end());
        parts.pop_back();
    }
    parts.push_back(xml::rangeOf(start, end));
}

} // namespace

std::vector<xml::TextRange> shownParts(std::string_view text, std::span<const Stretch> stretches) {
    std::vector<xml::TextRange> parts;
    // Nearly all signed documents are that small.
    if (text.size() <= kMostShown) {
        append(0, text.size(), parts);
        return parts;
    }
    // Ahead of the places, as the first of the parts.
    append(0, characterStart(text, kBeginning), parts);
    const std::size_t room = kMostShown - kBeginning - kEnd;
    std::size_t used = 0;
    // In document order; the room goes to the first places, so that the page is read from the top.
    for (const Stretch& stretch : stretches) {
        const std::size_t place = stretch.range.start;
        // Differences are taken from the smaller side, so that nothing wraps at the beginning.
        const std::size_t start = characterStart(text, place - std::min(place, kAround));
        const std::size_t end = characterStart(text, place + kAround);
        // Only what is new counts: places lie close together where signatures do.
        const std::size_t from = std::max<std::size_t>(start, parts.back().end());
        if (end <= from) {
            continue;
        }
        if (end - from > room - used) {
            break;
        }
        used += end - from;
        append(start, end, parts);
    }
    // In any case, and out of a room of its own.
    append(characterStart(text, text.size() - kEnd), text.size(), parts);
    return parts;
}

} // namespace vantrel::dsig::html
