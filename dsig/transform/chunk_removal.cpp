#include "dsig/transform/chunk_removal.h"

#include "foundation/text/strings.h"

#include <string>
#include <vector>

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

// The last `count` bytes of what is kept before the last of `cuts`.
std::string keptTail(std::string_view text, const std::vector<Stretch>& cuts, std::size_t count) {
    std::string tail;
    for (std::size_t i = cuts.size(); i-- > 0 && tail.size() < count;) {
        const std::size_t keptFrom = i == 0 ? 0 : cuts[i - 1].end;
        const std::size_t kept = std::min(cuts[i].start - keptFrom, count - tail.size());
        tail.insert(0, text.substr(cuts[i].start - kept, kept));
    }
    return tail;
}

// True when a removal has put together, out of what stood before and behind it, another start.
bool startAcrossJoin(std::string_view text, const std::vector<Stretch>& cuts,
                     std::string_view start) {
    const std::size_t reach = start.size() - 1;
    std::string joined = keptTail(text, cuts, reach);
    joined.append(text.substr(cuts.back().end, reach));
    return joined.find(start) != std::string::npos;
}

bool cut(StringBuffer& text, const std::vector<Stretch>& cuts) {
    if (cuts.empty()) {
        return true;
    }
    const std::string_view old = text.view();
    StringBuffer kept;
    if (!kept.reserve(text.getSize())) {
        return false;
    }
    std::size_t from = 0;
    for (const Stretch& stretch : cuts) {
        kept.appendView(old.substr(from, stretch.start - from));
        from = stretch.end;
    }
    kept.appendView(old.substr(from));
    text.takeSb(kept);
    return true;
}

// One pass over the text. Stops early, with `again` set, when a removal has made a new start that
// only the changed text shows.
int removePass(StringBuffer& text, const ChunkPattern& pattern, int most, bool& again) {
    again = false;
    std::vector<Stretch> cuts;
    std::size_t from = 0;
    Stretch chunk{};
    while (static_cast<int>(cuts.size()) < most && findChunk(text.view(), pattern, from, chunk)) {
        cuts.push_back(chunk);
        from = chunk.end;
        if (startAcrossJoin(text.view(), cuts, pattern.start)) {
            again = true;
            break;
        }
    }
    return cut(text, cuts) ? static_cast<int>(cuts.size()) : 0;
}

} // namespace

int removeChunks(StringBuffer& text, const ChunkPattern& pattern, int most) {
    int removed = 0;
    bool again = true;
    while (again && removed < most) {
        removed += removePass(text, pattern, most - removed, again);
    }
    return removed;
}

} // namespace vantrel::dsig
