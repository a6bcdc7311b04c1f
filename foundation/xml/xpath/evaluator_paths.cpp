// SPDX-License-Identifier: MIT
#include "foundation/xml/xpath/evaluator.h"

#include <algorithm>

namespace vantrel::xml {

namespace {

void sortOnce(NodeList& nodes) {
    if (!std::is_sorted(nodes.begin(), nodes.end())) {
        std::sort(nodes.begin(), nodes.end());
    }
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
}

} // namespace

bool XPathEvaluator::add(NodeId node, NodeList& to) {
    to.push_back(node);
    return m_budget.take(1);
}

// True when the node was not marked before.
bool XPathEvaluator::mark(NodeId node) {
    if (m_marks.size() == 0) {
        m_marks = NodeBits(m_index.size());
    }
    if (m_marks.contains(node)) {
        return false;
    }
    m_marks.add(node);
    return true;
}

void XPathEvaluator::unmark(const NodeList& nodes) {
    for (const NodeId node : nodes) {
        m_marks.remove(node);
    }
}

NodeList XPathEvaluator::start(const XPathPart& path, const XPathContext& context) {
    if (path.absolute) {
        return {0};
    }
    return path.operands != 0 ? nodes(operandOf(path, 0), context) : NodeList{context.node};
}

// The first `steps` steps of a path.
NodeList XPathEvaluator::walk(const XPathPart& path, const XPathContext& context,
                              std::uint32_t steps) {
    NodeList at = start(path, context);
    for (std::uint32_t i = 0; i < steps && !at.empty() && !m_budget.passed(); ++i) {
        NodeList to;
        take(path.firstStep + i, at, to);
        at.swap(to);
    }
    return at;
}

NodeList XPathEvaluator::filtered(const XPathPart& filter, const XPathContext& context) {
    NodeList list = nodes(operandOf(filter, 0), context);
    applyPredicates(filter.firstOperand + 1, filter.operands - 1, list);
    return list;
}

// The last step stops at the first node that it finds.
bool XPathEvaluator::exists(const XPathPart& path, const XPathContext& context) {
    const std::uint32_t last = path.firstStep + path.steps - 1;
    if (path.steps == 0 || m_expression.step(last).positional) {
        return !walk(path, context, path.steps).empty();
    }
    const XPathStep& step = m_expression.step(last);
    bool found = false;
    for (const NodeId from : walk(path, context, path.steps - 1)) {
        walkAxis(m_index, step.axis, from, [&](NodeId node) {
            if (!m_budget.take(1)) {
                return false;
            }
            found = m_tests[last].matches(m_index, node) && passesAll(step, node);
            return !found;
        });
        if (found || m_budget.passed()) {
            break;
        }
    }
    return found;
}

// The nodes of a step from a list, as a list.
void XPathEvaluator::take(std::uint32_t number, const NodeList& from, NodeList& to) {
    const XPathStep& step = m_expression.step(number);
    if (!step.positional) {
        takeTogether(number, from, to);
        if (step.predicates != 0) {
            std::erase_if(to, [&](NodeId node) { return !passesAll(step, node); });
        }
        return;
    }
    for (const NodeId node : from) {
        takeByPosition(number, node, to);
        if (m_budget.passed()) {
            return;
        }
    }
    sortOnce(to);
}

// Without positions the nodes of many contexts can be collected together, each once.
void XPathEvaluator::takeTogether(std::uint32_t number, const NodeList& from, NodeList& to) {
    const XPathStep& step = m_expression.step(number);
    const ResolvedTest& test = m_tests[number];
    const auto collect = [&](NodeId node) {
        return test.matches(m_index, node) ? add(node, to) : m_budget.take(1);
    };
    if (from.size() > 1) {
        switch (step.axis) {
        case XPathAxis::Ancestor:
        case XPathAxis::AncestorOrSelf: ancestorsOf(number, from, to); return;
        case XPathAxis::Descendant:
        case XPathAxis::DescendantOrSelf: descendantsOf(number, from, to); return;
        case XPathAxis::FollowingSibling:
        case XPathAxis::PrecedingSibling: siblingsOf(number, from, to); return;
        case XPathAxis::Following: {
            // Behind the one that ends first.
            NodeId end = m_index.size();
            for (const NodeId node : from) {
                end = std::min(end, m_index[node].next);
            }
            walkRange(m_index, end, m_index.size(), collect);
            return;
        }
        case XPathAxis::Preceding:
            walkPreceding(m_index, from.back(), collect);
            sortOnce(to);
            return;
        default: break;
        }
    }
    for (const NodeId node : from) {
        if (!walkAxis(m_index, step.axis, node, collect)) {
            break;
        }
    }
    sortOnce(to);
}

// Up to where another node of the list has been.
void XPathEvaluator::ancestorsOf(std::uint32_t number, const NodeList& from, NodeList& to) {
    const bool orSelf = m_expression.step(number).axis == XPathAxis::AncestorOrSelf;
    NodeList seen;
    for (const NodeId node : from) {
        NodeId at = orSelf ? node : m_index[node].parent;
        for (; at != kNoNode && mark(at); at = m_index[at].parent) {
            if (!add(at, seen)) {
                break;
            }
        }
    }
    unmark(seen);
    for (const NodeId node : seen) {
        if (m_tests[number].matches(m_index, node)) {
            to.push_back(node);
        }
    }
    sortOnce(to);
}

// One after the other along the siblings, up to where another node of the list has been.
void XPathEvaluator::siblingsOf(std::uint32_t number, const NodeList& from, NodeList& to) {
    const bool following = m_expression.step(number).axis == XPathAxis::FollowingSibling;
    NodeList seen;
    for (const NodeId node : from) {
        NodeId at = following ? m_index.nextSibling(node) : m_index[node].previous;
        while (at != kNoNode && mark(at) && add(at, seen)) {
            at = following ? m_index.nextSibling(at) : m_index[at].previous;
        }
    }
    unmark(seen);
    for (const NodeId node : seen) {
        if (m_tests[number].matches(m_index, node)) {
            to.push_back(node);
        }
    }
    sortOnce(to);
}

// Each subtree once: the list is in document order, so what lies in the last one is passed over.
void XPathEvaluator::descendantsOf(std::uint32_t number, const NodeList& from, NodeList& to) {
    const bool orSelf = m_expression.step(number).axis == XPathAxis::DescendantOrSelf;
    const ResolvedTest& test = m_tests[number];
    NodeId done = 0;
    for (const NodeId node : from) {
        const bool ownSubtree = node >= done;
        // An attribute in the extent of an element is none of its descendants.
        const bool alone = !ownSubtree && !m_index.isChild(node);
        if (orSelf && (ownSubtree || alone) && test.matches(m_index, node) && !add(node, to)) {
            return;
        }
        if (!ownSubtree) {
            continue;
        }
        done = std::max(done, m_index[node].next);
        const bool more =
            walkRange(m_index, m_index[node].content, m_index[node].next, [&](NodeId inside) {
                return test.matches(m_index, inside) ? add(inside, to) : m_budget.take(1);
            });
        if (!more) {
            return;
        }
    }
    sortOnce(to);
}

void XPathEvaluator::takeByPosition(std::uint32_t number, NodeId from, NodeList& to) {
    const XPathStep& step = m_expression.step(number);
    const XPathPart& first = m_expression.part(m_expression.operand(step.firstPredicate).part);
    // "[3]" needs no more than three nodes.
    const bool counted = first.op == XPathOp::Number;
    NodeList list;
    walkAxis(m_index, step.axis, from, [&](NodeId node) {
        if (!m_tests[number].matches(m_index, node)) {
            return m_budget.take(1);
        }
        return add(node, list) && !(counted && static_cast<double>(list.size()) >= first.number);
    });
    applyPredicates(step.firstPredicate, step.predicates, list);
    to.insert(to.end(), list.begin(), list.end());
}

void XPathEvaluator::applyPredicates(std::uint32_t first, std::uint32_t count, NodeList& list) {
    for (std::uint32_t i = 0; i < count && !list.empty() && !m_budget.passed(); ++i) {
        const Part predicate = m_expression.operand(first + i).part;
        XPathContext context;
        context.size = static_cast<std::uint32_t>(list.size());
        context.position = 0;
        std::erase_if(list, [&](NodeId node) {
            context.node = node;
            ++context.position;
            return !passes(predicate, context);
        });
    }
}

bool XPathEvaluator::passes(Part predicate, const XPathContext& context) {
    if (m_expression.part(predicate).type == XPathType::Number) {
        return number(predicate, context) == static_cast<double>(context.position);
    }
    return boolean(predicate, context) && !m_budget.passed();
}

bool XPathEvaluator::passesAll(const XPathStep& step, NodeId node) {
    XPathContext context;
    context.node = node;
    for (std::uint32_t i = 0; i < step.predicates; ++i) {
        if (!passes(m_expression.operand(step.firstPredicate + i).part, context)) {
            return false;
        }
    }
    return true;
}

} // namespace vantrel::xml
