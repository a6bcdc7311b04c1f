// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/element_tree.h"

#include "tests/support/bytes.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using xml::ElementId;
using xml::ElementRecord;

// What a parser with a stack says of a tree.
struct PlainTree {
    std::vector<ElementRecord> records;
    std::vector<ElementId> parents;
    std::vector<ElementId> behind;
};

// Of `count` elements; the more `bushy`, the more often an element ends before the next begins.
PlainTree randomTree(RandomBytes& random, std::uint32_t count, std::size_t bushy) {
    PlainTree tree;
    std::vector<ElementId> open;
    std::uint32_t offset = 0;
    const auto closeOne = [&] {
        offset += 1 + static_cast<std::uint32_t>(random.below(3));
        tree.records[open.back()].end = offset;
        tree.behind[open.back()] = static_cast<ElementId>(tree.records.size());
        open.pop_back();
    };
    for (ElementId id = 0; id < count; ++id) {
        while (open.size() > 1 && random.below(100) < bushy) {
            closeOne();
        }
        offset += static_cast<std::uint32_t>(random.below(2)); // siblings may touch
        tree.parents.push_back(open.empty() ? xml::kNoElement : open.back());
        tree.records.push_back({offset++, 0});
        tree.behind.push_back(0);
        open.push_back(id);
    }
    while (!open.empty()) {
        closeOne();
    }
    return tree;
}

TEST(ElementTree, ExtentsTellParentsAndSubtrees) {
    RandomBytes random(5);
    // On either side of one group, of a group of groups, and with three levels.
    for (const std::uint32_t count : {1U, 2U, 63U, 64U, 65U, 1000U, 4096U, 4097U, 300'000U}) {
        // From one chain to children of the root alone.
        for (const std::size_t bushy : {0, 30, 50, 60, 100}) {
            const PlainTree tree = randomTree(random, count, bushy);
            xml::ParentFinder finder;
            finder.build(tree.records);
            for (ElementId id = 0; id < count; ++id) {
                ASSERT_EQ(finder.parent(tree.records, id), tree.parents[id]) << count << " " << id;
                ASSERT_EQ(xml::subtreeEnd(tree.records, id), tree.behind[id]) << count << " " << id;
            }
        }
    }
}

} // namespace
} // namespace vantrel::test
