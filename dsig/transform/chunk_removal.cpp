// SPDX-License-Identifier: MIT
#include "dsig/transform/chunk_removal.h"

#include <new>

namespace vantrel::dsig {

// All chunks are found in one pass over the unchanged text instead of removing each before the next
// is looked for, which would copy the document once for every chunk.
FoundChunks findChunks(const GappedText& text, const ChunkPattern& pattern, std::size_t most) {
    FoundChunks found;
    std::size_t from = 0;
    for (;;) {
        const std::size_t start = text.find(pattern.start, from);
        const std::size_t end =
            start == std::string_view::npos ? start : text.find(pattern.end, start);
        // A start without an end is no chunk, and no later start can have one either.
        if (end == std::string_view::npos) {
            return found;
        }
        from = end + pattern.end.size();
        // The needle has to begin and end within the chunk. A chunk without it is passed over as a
        // whole, so a start inside it is not tried.
        if (!pattern.needle.empty() && !text.upTo(from).contains(pattern.needle, start)) {
            continue;
        }
        // Only a chunk that would have been removed makes `more` true.
        if (found.chunks.size() == most) {
            found.more = true;
            return found;
        }
        found.chunks.push_back(
            {static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(from - start)});
    }
}

void cutOut(StringBuffer& text, const std::vector<xml::TextRange>& ranges) {
    if (ranges.empty()) {
        return;
    }
    // The rest is built beside the text and takes its place at the end: running out of memory half
    // way must not leave a text of which a part is gone.
    StringBuffer rest;
    std::uint32_t at = 0;
    for (const xml::TextRange range : ranges) {
        if (!rest.appendView(text.view().substr(at, range.start - at))) {
            throw std::bad_alloc();
        }
        at = range.end();
    }
    if (!rest.appendView(text.view().substr(at))) {
        throw std::bad_alloc();
    }
    text.takeSb(rest);
}

} // namespace vantrel::dsig
