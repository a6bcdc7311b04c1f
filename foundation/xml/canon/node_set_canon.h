// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_NODE_SET_CANON_H
#define FOUNDATION_XML_CANON_NODE_SET_CANON_H

#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/nodes/node_index.h"

#include <span>
#include <string_view>

namespace vantrel::xml {

enum class NodeSetMethod : std::uint8_t {
    Inclusive,   // Canonical XML 1.0
    Inclusive11, // Canonical XML 1.1
    Exclusive    // Exclusive XML Canonicalization 1.0
};

struct NodeSetRequest {
    NodeSetMethod method = NodeSetMethod::Inclusive;
    bool withComments = false;
    // As in CanonRequest.
    std::span<const std::string_view> prefixes = {};
};

// Writes the canonical form of the nodes of a set to `sink`, as the recommendations have it for any
// set: elements without their namespace nodes, attributes without their element, text without
// anything. For whole documents and elements canonicalize() gives the same octets much faster.
// False when the sink refuses or the budget is used up.
[[nodiscard]] bool canonicalizeNodes(const NodeIndex& index, const NodeBits& set,
                                     const NodeSetRequest& request, WorkBudget& budget,
                                     CanonSink& sink);

} // namespace vantrel::xml

#endif
