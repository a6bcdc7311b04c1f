// SPDX-License-Identifier: MIT
#include "foundation/xml/xpath/evaluator.h"

#include <algorithm>

// An expression for all nodes at once. A path that is true where it leads somewhere is followed
// backwards, from all nodes that its last step would take, so that each step costs one pass over
// the nodes whatever the depth of the document (Gottlob, Koch and Pichler, "Efficient algorithms
// for processing XPath queries", 2005). What cannot be asked so is asked node by node.
namespace vantrel::xml {

bool XPathEvaluator::filter(NodeBits& nodes) {
    keepTrue(m_expression.top(), nodes);
    return !m_budget.passed();
}

void XPathEvaluator::keepTrue(Part number, NodeBits& nodes) {
    const XPathPart& part = m_expression.part(number);
    if (m_budget.passed() || !m_budget.take(1 + nodes.size() / 64)) {
        return;
    }
    if (part.constant) {
        if (!XPathValues::toBoolean(value(number, {}))) {
            nodes = NodeBits(nodes.size());
        }
        return;
    }
    const bool negation = part.op == XPathOp::Call && part.function == XPathFunction::Not;
    const bool plain = part.op == XPathOp::Call && part.function == XPathFunction::Boolean;
    if (negation || plain) {
        NodeBits holds = nodes;
        keepTrue(operandOf(part, 0), holds);
        if (plain) {
            nodes = std::move(holds);
        } else {
            nodes.subtract(holds);
        }
    } else if (part.op == XPathOp::And) {
        for (std::uint32_t i = 0; i < part.operands; ++i) {
            keepTrue(operandOf(part, i), nodes);
        }
    } else if (part.op == XPathOp::Or || part.op == XPathOp::Union) {
        NodeBits rest = nodes;
        for (std::uint32_t i = 0; i < part.operands; ++i) {
            NodeBits holds = rest;
            keepTrue(operandOf(part, i), holds);
            rest.subtract(holds);
        }
        nodes.subtract(rest);
    } else if (isPlainPath(number)) {
        NodeBits goal(m_index.size(), true);
        leadingTo(part, goal);
        nodes.intersect(goal);
    } else if (!keepByContainment(part, nodes)) {
        keepEach(number, nodes);
    }
}

void XPathEvaluator::keepEach(Part part, NodeBits& nodes) {
    XPathContext context;
    for (NodeId node = nodes.next(0); node != kNoNode; node = nodes.next(node + 1)) {
        context.node = node;
        // A number is as true here as anywhere: only a predicate makes it a position.
        if (!boolean(part, context)) {
            nodes.remove(node);
        }
        if (m_budget.passed()) {
            return;
        }
    }
}

bool XPathEvaluator::isPlainPath(Part number) const {
    const XPathPart& part = m_expression.part(number);
    if (part.op != XPathOp::Path || part.absolute || part.operands != 0) {
        return false;
    }
    for (std::uint32_t i = 0; i < part.steps; ++i) {
        if (m_expression.step(part.firstStep + i).positional) {
            return false;
        }
    }
    return true;
}

// `goal` is what the last step may take, and becomes the nodes that the path leads from.
void XPathEvaluator::leadingTo(const XPathPart& path, NodeBits& goal) {
    for (std::uint32_t i = path.steps; i-- > 0 && !m_budget.passed();) {
        const std::uint32_t number = path.firstStep + i;
        const XPathStep& step = m_expression.step(number);
        for (NodeId node = goal.next(0); node != kNoNode; node = goal.next(node + 1)) {
            if (!m_tests[number].matches(m_index, node)) {
                goal.remove(node);
            }
        }
        // The tests asked of every node are work like any other.
        if (!m_budget.take(m_index.size())) {
            return;
        }
        for (std::uint32_t k = 0; k < step.predicates; ++k) {
            keepTrue(m_expression.operand(step.firstPredicate + k).part, goal);
        }
        stepBack(step.axis, goal);
    }
}

// The nodes from which the axis leads to one of `nodes`.
void XPathEvaluator::stepBack(XPathAxis axis, NodeBits& nodes) {
    if (!m_budget.take(m_index.size())) {
        return;
    }
    const NodeId size = m_index.size();
    NodeBits from(size);
    switch (axis) {
    case XPathAxis::Self: return;
    case XPathAxis::Parent:
        for (NodeId node = 1; node < size; ++node) {
            if (nodes.contains(m_index[node].parent)) {
                from.add(node);
            }
        }
        break;
    case XPathAxis::Child:
    case XPathAxis::Attribute:
    case XPathAxis::Namespace:
        for (NodeId node = nodes.next(1); node != kNoNode; node = nodes.next(node + 1)) {
            const NodeKind kind = m_index[node].kind;
            const bool onAxis = axis == XPathAxis::Child       ? m_index.isChild(node)
                                : axis == XPathAxis::Attribute ? kind == NodeKind::Attribute
                                                               : kind == NodeKind::Namespace;
            if (onAxis) {
                from.add(m_index[node].parent);
            }
        }
        break;
    case XPathAxis::DescendantOrSelf: from = nodes; [[fallthrough]];
    case XPathAxis::Descendant: {
        // A mark of its own for each ancestor, since `from` may hold nodes for other reasons.
        NodeBits above(size);
        for (NodeId node = nodes.next(1); node != kNoNode; node = nodes.next(node + 1)) {
            NodeId at = m_index.isChild(node) ? m_index[node].parent : kNoNode;
            for (; at != kNoNode && !above.contains(at); at = m_index[at].parent) {
                above.add(at);
            }
        }
        from.unite(above);
        break;
    }
    case XPathAxis::Ancestor:
    case XPathAxis::AncestorOrSelf:
        // A parent stands before its children, so it is settled when they are looked at.
        for (NodeId node = 1; node < size; ++node) {
            const NodeId parent = m_index[node].parent;
            if (from.contains(parent) || nodes.contains(parent)) {
                from.add(node);
            }
        }
        if (axis == XPathAxis::AncestorOrSelf) {
            from.unite(nodes);
        }
        break;
    case XPathAxis::Following: {
        NodeId last = 0;
        for (NodeId node = nodes.next(1); node != kNoNode; node = nodes.next(node + 1)) {
            last = m_index.isChild(node) ? node : last;
        }
        for (NodeId node = 1; node < size; ++node) {
            if (m_index[node].next <= last) {
                from.add(node);
            }
        }
        break;
    }
    case XPathAxis::Preceding: {
        NodeId end = size;
        for (NodeId node = nodes.next(1); node != kNoNode; node = nodes.next(node + 1)) {
            end = m_index.isChild(node) ? std::min(end, m_index[node].next) : end;
        }
        from.addRange(end, size);
        break;
    }
    case XPathAxis::FollowingSibling:
        for (NodeId node = size; node-- > 1;) {
            const NodeId next = m_index.nextSibling(node);
            if (next != kNoNode && (nodes.contains(next) || from.contains(next))) {
                from.add(node);
            }
        }
        break;
    case XPathAxis::PrecedingSibling:
        for (NodeId node = 1; node < size; ++node) {
            const NodeId previous = m_index[node].previous;
            if (previous != kNoNode && (nodes.contains(previous) || from.contains(previous))) {
                from.add(node);
            }
        }
        break;
    }
    nodes = std::move(from);
}

// count(P | Q) > count(P) and count(P | Q) = count(P), the way to ask whether Q is in P that XML
// Signature 1.1, 6.6.3.1 shows: where Q is the same everywhere and P a plain path, or where Q is
// the node itself and P the same everywhere.
bool XPathEvaluator::keepByContainment(const XPathPart& part, NodeBits& nodes) {
    Part sought = 0;
    Part searched = 0;
    if (!isCountedUnion(part, sought, searched)) {
        return false;
    }
    NodeBits inside = nodes; // where P has all of Q
    if (m_expression.part(searched).constant) {
        NodeBits members(m_index.size());
        for (const NodeId node : this->nodes(searched, {})) {
            members.add(node);
        }
        inside.intersect(members);
    } else {
        for (const NodeId node : this->nodes(sought, {})) {
            NodeBits goal(m_index.size());
            goal.add(node);
            leadingTo(m_expression.part(searched), goal);
            inside.intersect(goal);
            if (m_budget.passed()) {
                return true;
            }
        }
    }
    if (part.op == XPathOp::Equality) {
        nodes = std::move(inside);
    } else {
        nodes.subtract(inside);
    }
    return true;
}

// "."
bool XPathEvaluator::isSelf(Part number) const {
    const XPathPart& part = m_expression.part(number);
    if (!isPlainPath(number) || part.steps != 1) {
        return false;
    }
    const XPathStep& step = m_expression.step(part.firstStep);
    return step.axis == XPathAxis::Self && step.test == XPathTest::Node && step.predicates == 0;
}

bool XPathEvaluator::isCountedUnion(const XPathPart& part, Part& sought, Part& searched) const {
    const bool comparison =
        (part.op == XPathOp::Equality || part.op == XPathOp::Relational) && part.operands == 2;
    if (!comparison) {
        return false;
    }
    const XPathSign sign = m_expression.operand(part.firstOperand + 1).sign;
    const XPathPart& left = m_expression.part(operandOf(part, 0));
    const XPathPart& right = m_expression.part(operandOf(part, 1));
    const bool counts = left.op == XPathOp::Call && left.function == XPathFunction::Count &&
                        right.op == XPathOp::Call && right.function == XPathFunction::Count;
    if (!counts || (sign != XPathSign::Equal && sign != XPathSign::Greater)) {
        return false;
    }
    const XPathPart& both = m_expression.part(operandOf(left, 0));
    searched = operandOf(right, 0);
    if (both.op != XPathOp::Union || both.operands != 2) {
        return false;
    }
    // The union names its two sides in either order.
    for (std::uint32_t i = 0; i < 2; ++i) {
        sought = operandOf(both, i);
        const bool known = m_expression.part(searched).constant
                               ? isSelf(sought)
                               : m_expression.part(sought).constant && isPlainPath(searched);
        if (known && m_expression.same(operandOf(both, 1 - i), searched)) {
            return true;
        }
    }
    return false;
}

} // namespace vantrel::xml
