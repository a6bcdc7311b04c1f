// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_ELEMENT_TREE_H
#define FOUNDATION_XML_SCAN_ELEMENT_TREE_H

#include "foundation/xml/scan/element_id.h"
#include "foundation/xml/scan/grow_array.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace vantrel::xml {

// The extent of one element. Offsets are into the text of its document.
struct ElementRecord {
    std::uint32_t start; // of the '<' of the start tag
    std::uint32_t end;   // past the end tag, or past an empty-element tag
};

// The first element behind the subtree of `id`, whose records stand in document order: [id, that)
// is the subtree. The number of elements where nothing follows. Work: the logarithm of the size of
// the subtree.
[[nodiscard]] ElementId subtreeEnd(std::span<const ElementRecord> records, ElementId id) noexcept;

// Finds parents from the extents alone, which say all there is to say: the parent of an element is
// the nearest one before it that reaches beyond its start. Where that one is far, a table tells
// which stretches of records can be left out: for each 16 records how far they reach, for each 16
// of these numbers again, and so on. It takes a quarter of a byte an element, where a field in each
// record would take four.
class ParentFinder final {
public:
    // For records that no longer change.
    void build(std::span<const ElementRecord> records);
    // kNoElement for the root. Work: 16 steps for each level of the table at the most.
    [[nodiscard]] ElementId parent(std::span<const ElementRecord> records,
                                   ElementId id) const noexcept;

private:
    template <class ReachOf> std::uint32_t addLevel(std::uint32_t count, const ReachOf& reachOf);

    static constexpr std::uint32_t kGroup = 16;
    static constexpr std::uint32_t kMostLevels = 7; // 16 to the 8th power of elements

    std::vector<std::uint32_t> m_reach; // of groups of records, then of groups of groups, ...
    std::array<std::uint32_t, kMostLevels + 1> m_firstOf{}; // where a level begins in m_reach
    std::uint32_t m_levels = 0;
};

} // namespace vantrel::xml

#endif
