// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/element_tree.h"

#include <algorithm>

namespace vantrel::xml {

namespace {

// The last number in [first, end) for which `reaches` holds, or `end`.
template <class Reaches>
std::uint32_t lastThatReaches(std::uint32_t first, std::uint32_t end, const Reaches& reaches) {
    for (std::uint32_t at = end; at != first; --at) {
        if (reaches(at - 1)) {
            return at - 1;
        }
    }
    return end;
}

} // namespace

ElementId subtreeEnd(std::span<const ElementRecord> records, ElementId id) noexcept {
    const std::uint32_t end = records[id].end;
    const auto count = static_cast<std::uint32_t>(records.size());
    if (records[count - 1].start < end) {
        return count;
    }
    // One behind it begins behind its end, so the steps that double stop before the last record.
    ElementId inside = id;
    std::uint32_t step = 1;
    while (step < count - inside && records[inside + step].start < end) {
        inside += step;
        step *= 2;
    }
    ElementId behind = inside + std::min(step, count - 1 - inside);
    while (behind - inside > 1) {
        const ElementId middle = inside + (behind - inside) / 2;
        (records[middle].start < end ? inside : behind) = middle;
    }
    return behind;
}

// One number for each group of the `count` below; returns how many that are.
template <class ReachOf>
std::uint32_t ParentFinder::addLevel(std::uint32_t count, const ReachOf& reachOf) {
    m_firstOf[m_levels++] = static_cast<std::uint32_t>(m_reach.size());
    for (std::uint32_t first = 0; first < count; first += kGroup) {
        const std::uint32_t end = std::min(first + kGroup, count);
        std::uint32_t furthest = 0;
        for (std::uint32_t at = first; at < end; ++at) {
            furthest = std::max(furthest, reachOf(at));
        }
        m_reach.push_back(furthest);
    }
    return (count - 1) / kGroup + 1;
}

void ParentFinder::build(std::span<const ElementRecord> records) {
    auto count = static_cast<std::uint32_t>(records.size());
    if (count > kGroup) {
        m_reach.reserve(count / (kGroup - 1) + kMostLevels);
        count = addLevel(count, [&](std::uint32_t at) { return records[at].end; });
    }
    while (count > kGroup) {
        const std::uint32_t below = m_firstOf[m_levels - 1];
        count = addLevel(count, [&](std::uint32_t at) { return m_reach[below + at]; });
    }
}

ElementId ParentFinder::parent(std::span<const ElementRecord> records,
                               ElementId id) const noexcept {
    const std::uint32_t start = records[id].start;
    const auto lastOf = [&](std::uint32_t level, std::uint32_t first, std::uint32_t end) {
        return level == 0
                   ? lastThatReaches(first, end,
                                     [&](std::uint32_t at) { return records[at].end > start; })
                   : lastThatReaches(first, end, [&](std::uint32_t at) {
                         return m_reach[m_firstOf[level - 1] + at] > start;
                     });
    };
    // Up: what stands before it in its group, and in the group of its group, ...
    std::uint32_t at = id;
    std::uint32_t level = 0;
    std::uint32_t found = lastOf(0, at - at % kGroup, at);
    while (found == at) {
        if (level == m_levels) {
            return kNoElement;
        }
        ++level;
        at /= kGroup;
        found = lastOf(level, at - at % kGroup, at);
    }
    // And down again to the record.
    while (level > 0) {
        --level;
        found = lastOf(level, found * kGroup, (found + 1) * kGroup);
    }
    return found;
}

} // namespace vantrel::xml
