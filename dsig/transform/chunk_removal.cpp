#include "dsig/transform/chunk_removal.h"

#include <new>

namespace vantrel::dsig {

FoundChunks findChunks(const GappedText& text, const ChunkPattern& pattern, std::size_t most) {
    FoundChunks found;
    std::size_t from = 0;
    for (;;) {
        const std::size_t start = text.find(pattern.start, from);
        const std::size_t end =
            start == std::string_view::npos ? start : text.find(pattern.end, start);
        if (end == std::string_view::npos) {
            return found;
        }
        from = end + pattern.end.size();
        if (!pattern.needle.empty() && !text.upTo(from).contains(pattern.needle, start)) {
            continue;
        }
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
