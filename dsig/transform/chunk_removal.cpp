#include "dsig/transform/chunk_removal.h"

#include "foundation/text/strings.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace vantrel::dsig {

namespace {

struct Stretch {
    std::size_t start;
    std::size_t end;
};

// The next chunk that counts, at or after `from`; `from` moves past chunks that do not.
bool findChunk(std::string_view text, const ChunkPattern& pattern, std::size_t& from,
               Stretch& chunk) {
    for (;;) {
        chunk.start = text::findText(text, pattern.start, from);
        if (chunk.start == std::string_view::npos) {
            return false;
        }
        const std::size_t end = text::findText(text, pattern.end, chunk.start);
        if (end == std::string_view::npos) {
            return false;
        }
        chunk.end = end + pattern.end.size();
        if (pattern.needle.empty() ||
            text::findText(text.substr(chunk.start, chunk.end - chunk.start), pattern.needle, 0) !=
                std::string_view::npos) {
            return true;
        }
        from = chunk.end;
    }
}

} // namespace

// What is kept is moved to the front as the search goes on; between it and the rest of the text
// there is a gap that grows by what is removed.
int removeChunks(StringBuffer& text, const ChunkPattern& pattern, int most) {
    Stretch chunk{};
    std::size_t from = 0;
    if (most <= 0 || !findChunk(text.view(), pattern, from, chunk)) {
        return 0;
    }
    SharedBytes bytes = text.storage();
    text.clear();
    char* const data = bytes.mutableData();
    if (data == nullptr) {
        text.setStorage(bytes);
        throw std::bad_alloc();
    }
    const std::string_view all = bytes.text();
    const std::size_t startReach = std::max<std::size_t>(pattern.start.size(), 1) - 1;
    std::size_t kept = 0;
    std::size_t rest = 0;
    std::size_t settled = 0; // no chunk begins before this place of what is kept
    int removed = 0;
    do {
        if (from > rest) {
            settled = kept + (from - rest);
        }
        std::memmove(data + kept, data + rest, chunk.start - rest);
        kept += chunk.start - rest;
        rest = chunk.end;
        ++removed;
        // What stood before and behind the chunk may form another start now: the end of what is
        // kept goes back before the rest.
        const std::size_t back = std::min(startReach, kept - settled);
        kept -= back;
        rest -= back;
        std::memmove(data + rest, data + kept, back);
        from = rest;
    } while (removed < most && findChunk(all, pattern, from, chunk));
    std::memmove(data + kept, data + rest, all.size() - rest);
    bytes.truncate(static_cast<std::uint32_t>(kept + all.size() - rest));
    text.setStorage(bytes);
    return removed;
}

bool hasChunk(const StringBuffer& text, const ChunkPattern& pattern) {
    Stretch chunk{};
    std::size_t from = 0;
    return findChunk(text.view(), pattern, from, chunk);
}

} // namespace vantrel::dsig
