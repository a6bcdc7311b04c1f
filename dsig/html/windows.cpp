#include "dsig/html/windows.h"

#include "dsig/html/escape.h"

#include <algorithm>

namespace vantrel::dsig::html {

namespace {

constexpr std::size_t kBeginning = std::size_t{16} << 10;
constexpr std::size_t kEnd = std::size_t{4} << 10;
constexpr std::size_t kAround = 1000; // before and behind a place

// A part from `start` to `end`, one with the last where they meet.
void append(std::size_t start, std::size_t end, std::vector<xml::TextRange>& parts) {
    if (!parts.empty() && start <= parts.back().end()) {
        const std::size_t longer = std::max<std::size_t>(end, parts.back().end());
        parts.back() = xml::rangeOf(parts.back().start, longer);
        return;
    }
    parts.push_back(xml::rangeOf(start, end));
}

} // namespace

std::vector<xml::TextRange> shownParts(std::string_view text, std::span<const Stretch> stretches) {
    std::vector<xml::TextRange> parts;
    if (text.size() <= kMostShown) {
        append(0, text.size(), parts);
        return parts;
    }
    append(0, characterStart(text, kBeginning), parts);
    const std::size_t room = kMostShown - kBeginning - kEnd;
    std::size_t used = 0;
    for (const Stretch& stretch : stretches) {
        const std::size_t place = stretch.range.start;
        const std::size_t start = characterStart(text, place - std::min(place, kAround));
        const std::size_t end = characterStart(text, place + kAround);
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
    append(characterStart(text, text.size() - kEnd), text.size(), parts);
    return parts;
}

} // namespace vantrel::dsig::html
