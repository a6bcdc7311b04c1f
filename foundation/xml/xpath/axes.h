// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_XPATH_AXES_H
#define FOUNDATION_XML_XPATH_AXES_H

#include "foundation/xml/nodes/node_index.h"
#include "foundation/xml/xpath/expression.h"

#include <cstdint>

namespace vantrel::xml {

// A node test with its names as the numbers of one document.
struct ResolvedTest {
    XPathTest test = XPathTest::Node;
    NodeKind principal = NodeKind::Element;
    std::uint32_t space = 0;
    std::uint32_t name = 0;

    ResolvedTest(const XPathExpression& expression, const XPathStep& step, const NodeIndex& index);

    [[nodiscard]] bool matches(const NodeIndex& index, NodeId node) const noexcept {
        const Node& record = index[node];
        switch (test) {
        case XPathTest::Node: return true;
        case XPathTest::Name: return record.kind == principal && record.name == name;
        case XPathTest::AnyName: return record.kind == principal;
        case XPathTest::AnyInSpace:
            return record.kind == principal && index.name(node).space == space;
        case XPathTest::Text: return record.kind == NodeKind::Text;
        case XPathTest::Comment: return record.kind == NodeKind::Comment;
        case XPathTest::Instruction: return record.kind == NodeKind::ProcessingInstruction;
        case XPathTest::InstructionOf:
            return record.kind == NodeKind::ProcessingInstruction && record.name == name;
        }
        return false;
    }
};

// From the context node away, against document order (XPath 1.0, 2.4).
[[nodiscard]] constexpr bool isReverse(XPathAxis axis) noexcept {
    return axis == XPathAxis::Ancestor || axis == XPathAxis::AncestorOrSelf ||
           axis == XPathAxis::Preceding || axis == XPathAxis::PrecedingSibling;
}

// The node behind in document order that is no attribute and no namespace node.
[[nodiscard]] inline NodeId nextInOrder(const NodeIndex& index, NodeId node) noexcept {
    const Node& record = index[node];
    return record.kind == NodeKind::Element ? record.content : node + 1;
}

// Descendants, and nodes behind a place: from `at` to before `end`.
template <class Visit> bool walkRange(const NodeIndex& index, NodeId at, NodeId end, Visit visit) {
    for (; at < end; at = nextInOrder(index, at)) {
        if (index.isChild(at) && !visit(at)) {
            return false;
        }
    }
    return true;
}

template <class Visit> bool walkAncestors(const NodeIndex& index, NodeId node, Visit visit) {
    for (NodeId at = index[node].parent; at != kNoNode; at = index[at].parent) {
        if (!visit(at)) {
            return false;
        }
    }
    return true;
}

template <class Visit> bool walkPreceding(const NodeIndex& index, NodeId node, Visit visit) {
    for (NodeId at = node; at-- > 1;) {
        // An ancestor ends behind the node.
        if (index.isChild(at) && index[at].next <= node && !visit(at)) {
            return false;
        }
    }
    return true;
}

// Calls `visit` for the nodes of an axis in its order, until it returns false; then returns false.
template <class Visit>
bool walkAxis(const NodeIndex& index, XPathAxis axis, NodeId node, Visit visit) {
    const Node& record = index[node];
    switch (axis) {
    case XPathAxis::Self: return visit(node);
    case XPathAxis::Parent: return record.parent == kNoNode || visit(record.parent);
    case XPathAxis::AncestorOrSelf: return visit(node) && walkAncestors(index, node, visit);
    case XPathAxis::Ancestor: return walkAncestors(index, node, visit);
    case XPathAxis::DescendantOrSelf:
        return visit(node) && walkRange(index, record.content, record.next, visit);
    case XPathAxis::Descendant: return walkRange(index, record.content, record.next, visit);
    case XPathAxis::Following: return walkRange(index, record.next, index.size(), visit);
    case XPathAxis::Preceding: return walkPreceding(index, node, visit);
    case XPathAxis::Child:
        for (NodeId at = record.content; at < record.next; at = index[at].next) {
            if (!visit(at)) {
                return false;
            }
        }
        return true;
    case XPathAxis::FollowingSibling:
        for (NodeId at = index.nextSibling(node); at != kNoNode; at = index.nextSibling(at)) {
            if (!visit(at)) {
                return false;
            }
        }
        return true;
    case XPathAxis::PrecedingSibling:
        for (NodeId at = record.previous; at != kNoNode; at = index[at].previous) {
            if (!visit(at)) {
                return false;
            }
        }
        return true;
    case XPathAxis::Attribute:
    case XPathAxis::Namespace: break;
    }
    if (record.kind != NodeKind::Element) {
        return true;
    }
    const NodeKind kind = axis == XPathAxis::Attribute ? NodeKind::Attribute : NodeKind::Namespace;
    for (NodeId at = node + 1; at < record.content; ++at) {
        if (index[at].kind == kind && !visit(at)) {
            return false;
        }
    }
    return true;
}

} // namespace vantrel::xml

#endif
