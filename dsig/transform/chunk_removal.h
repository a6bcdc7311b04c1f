#ifndef DSIG_TRANSFORM_CHUNK_REMOVAL_H
#define DSIG_TRANSFORM_CHUNK_REMOVAL_H

#include "foundation/text/StringBuffer.h"

#include <string_view>

namespace vantrel::dsig {

// Removals of one recognised kind stop after this many; the rest stays in the text.
inline constexpr int kMostChunks = 100;

// A stretch of text from `start` to the first `end` at or after it, both included.
struct ChunkPattern {
    std::string_view start;
    std::string_view end;
    std::string_view needle = {}; // only chunks that contain it count; empty: all do
};

// Removes the first such chunk, again and again, at most `most` times; returns how many. The result
// is that of searching the changed text from its beginning each time, but the text is read and
// moved once. Throws std::bad_alloc, the text unchanged.
int removeChunks(StringBuffer& text, const ChunkPattern& pattern, int most);

// True when the text holds such a chunk.
[[nodiscard]] bool hasChunk(const StringBuffer& text, const ChunkPattern& pattern);

} // namespace vantrel::dsig

#endif
