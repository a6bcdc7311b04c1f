// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_CHUNK_REMOVAL_H
#define DSIG_TRANSFORM_CHUNK_REMOVAL_H

#include "dsig/transform/gapped_text.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/xml_document.h"

#include <string_view>
#include <vector>

namespace vantrel::dsig {

// Removals of one recognised kind stop after this many; the rest stays in the text. Whoever meets
// the limit notes it as a leniency (FoundChunks::more).
inline constexpr std::size_t kMostChunks = 100;

// A stretch of text from `start` to the first `end` at or after it, both included. No nesting is
// counted: of an element within one of its own name, the stretch ends with the inner end tag. It is
// then no whole element, and WorkingText::takeOut refuses it. The views are borrowed for the
// search.
struct ChunkPattern {
    std::string_view start;
    std::string_view end;
    std::string_view needle = {}; // only chunks that contain it count; empty: all do
};

struct FoundChunks {
    std::vector<xml::TextRange> chunks; // ascending, disjoint
    bool more = false;                  // there are others beyond the number asked for
};

// The first `most` chunks: what one removes who looks for the first chunk, removes it, and begins
// anew. Positions are those of text.text(). Linear in the text, whatever the number of chunks
// without the needle.
[[nodiscard]] FoundChunks findChunks(const GappedText& text, const ChunkPattern& pattern,
                                     std::size_t most);

// Cuts stretches (ascending, disjoint) out of a text. Throws std::bad_alloc, the text unchanged. No
// range leaves the text as it is.
void cutOut(StringBuffer& text, const std::vector<xml::TextRange>& ranges);

} // namespace vantrel::dsig

#endif
