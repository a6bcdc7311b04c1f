// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_XPATH_EVALUATOR_H
#define FOUNDATION_XML_XPATH_EVALUATOR_H

#include "foundation/xml/nodes/node_index.h"
#include "foundation/xml/xpath/axes.h"
#include "foundation/xml/xpath/expression.h"
#include "foundation/xml/xpath/value.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace vantrel::xml {

// What an expression may ask of its surroundings.
struct XPathHooks {
    // here(): the element that bears the expression; kNoNode is an empty node-set.
    NodeId here = kNoNode;
    // id(): the element with an Id, or kNoElement. Without a hook the document's own Ids count,
    // where they are unique.
    std::function<ElementId(std::string_view id)> id = {};
};

// The context of an expression (XPath 1.0, section 1).
struct XPathContext {
    NodeId node = 0;
    std::uint32_t position = 1;
    std::uint32_t size = 1;
};

// Evaluates one expression over one document, any number of times. What does not depend on the
// context is worked out once. Calls go as deep as the expression is nested, never as the document
// is. All work is taken from the budget; once that is used up, results mean nothing.
class XPathEvaluator final {
public:
    XPathEvaluator(const XPathExpression& expression, const NodeIndex& index,
                   const XPathHooks& hooks, WorkBudget& budget);

    // The value of the expression; nothing when the budget is used up.
    [[nodiscard]] std::optional<XPathValue> evaluate(const XPathContext& context);
    // Leaves of `nodes` those for which the expression is true, as a predicate with position and
    // size 1 would (XML Signature 1.1, 6.6.3). Paths without positions take time in proportion to
    // the document, however many nodes there are (node_filter.cpp). False when the budget is used
    // up.
    [[nodiscard]] bool filter(NodeBits& nodes);

private:
    using Part = std::uint32_t;

    [[nodiscard]] XPathValue value(Part part, const XPathContext& context);
    [[nodiscard]] XPathValue compute(Part part, const XPathContext& context);
    [[nodiscard]] bool boolean(Part part, const XPathContext& context);
    [[nodiscard]] double number(Part part, const XPathContext& context);
    [[nodiscard]] std::string string(Part part, const XPathContext& context);
    [[nodiscard]] NodeList nodes(Part part, const XPathContext& context);
    [[nodiscard]] bool anyOrAll(const XPathPart& part, const XPathContext& context);
    [[nodiscard]] XPathValue compare(const XPathPart& part, const XPathContext& context);
    [[nodiscard]] double calculate(const XPathPart& part, const XPathContext& context);
    [[nodiscard]] NodeList unite(const XPathPart& part, const XPathContext& context);

    // Paths (evaluator_paths.cpp).
    [[nodiscard]] NodeList start(const XPathPart& path, const XPathContext& context);
    [[nodiscard]] NodeList walk(const XPathPart& path, const XPathContext& context,
                                std::uint32_t steps);
    [[nodiscard]] NodeList filtered(const XPathPart& filter, const XPathContext& context);
    [[nodiscard]] bool exists(const XPathPart& path, const XPathContext& context);
    void take(std::uint32_t step, const NodeList& from, NodeList& to);
    void takeTogether(std::uint32_t step, const NodeList& from, NodeList& to);
    void takeByPosition(std::uint32_t step, NodeId from, NodeList& to);
    void ancestorsOf(std::uint32_t step, const NodeList& from, NodeList& to);
    void siblingsOf(std::uint32_t step, const NodeList& from, NodeList& to);
    void descendantsOf(std::uint32_t step, const NodeList& from, NodeList& to);
    // Keeps those of a list, in the order of its axis, that the predicates from `first` on let
    // pass.
    void applyPredicates(std::uint32_t first, std::uint32_t count, NodeList& list);
    [[nodiscard]] bool passes(Part predicate, const XPathContext& context);
    [[nodiscard]] bool passesAll(const XPathStep& step, NodeId node);
    [[nodiscard]] bool add(NodeId node, NodeList& to);
    [[nodiscard]] bool mark(NodeId node);
    void unmark(const NodeList& nodes);

    // Functions (evaluator_functions.cpp).
    [[nodiscard]] XPathValue call(const XPathPart& part, const XPathContext& context);
    [[nodiscard]] XPathValue callString(const XPathPart& part, const XPathContext& context);
    [[nodiscard]] std::string stringArgument(const XPathPart& part, const XPathContext& context);
    [[nodiscard]] NodeId nodeArgument(const XPathPart& part, const XPathContext& context);
    [[nodiscard]] std::string concatenate(const XPathPart& part, const XPathContext& context);
    [[nodiscard]] std::string substring(const XPathPart& part, const XPathContext& context);
    [[nodiscard]] std::string translate(const XPathPart& part, const XPathContext& context);
    [[nodiscard]] NodeList byId(const XPathPart& part, const XPathContext& context);
    void addIds(std::string_view ids, NodeList& to);
    [[nodiscard]] bool isInLanguage(NodeId node, std::string_view language);
    [[nodiscard]] double sum(const XPathPart& part, const XPathContext& context);

    // All nodes at once (node_filter.cpp).
    void keepTrue(Part part, NodeBits& nodes);
    void keepEach(Part part, NodeBits& nodes);
    [[nodiscard]] bool keepByContainment(const XPathPart& part, NodeBits& nodes);
    [[nodiscard]] bool isCountedUnion(const XPathPart& part, Part& sought, Part& searched) const;
    [[nodiscard]] bool isSelf(Part part) const;
    [[nodiscard]] bool isPlainPath(Part part) const;
    // The nodes from which the path leads to one of `goal`.
    void leadingTo(const XPathPart& path, NodeBits& goal);
    void stepBack(XPathAxis axis, NodeBits& nodes);

    [[nodiscard]] Part operandOf(const XPathPart& part, std::uint32_t number) const noexcept {
        return m_expression.operand(part.firstOperand + number).part;
    }

    const XPathExpression& m_expression;
    const NodeIndex& m_index;
    const XPathHooks& m_hooks;
    WorkBudget& m_budget;
    XPathValues m_values;
    std::vector<ResolvedTest> m_tests;              // by step
    std::vector<std::optional<XPathValue>> m_known; // by part: constants once worked out
    NodeBits m_marks;                               // all clear between uses
};

} // namespace vantrel::xml

#endif
