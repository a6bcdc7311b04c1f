// SPDX-License-Identifier: MIT
#include "foundation/xml/xpath/evaluator.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace vantrel::xml {

XPathEvaluator::XPathEvaluator(const XPathExpression& expression, const NodeIndex& index,
                               const XPathHooks& hooks, WorkBudget& budget)
    : m_expression(expression), m_index(index), m_hooks(hooks), m_budget(budget),
      m_values(index, budget), m_known(expression.partCount()) {
    m_tests.reserve(expression.stepCount());
    for (std::uint32_t i = 0; i < expression.stepCount(); ++i) {
        m_tests.emplace_back(expression, expression.step(i), index);
    }
}

std::optional<XPathValue> XPathEvaluator::evaluate(const XPathContext& context) {
    XPathValue result = value(m_expression.top(), context);
    if (m_budget.passed()) {
        return std::nullopt;
    }
    return result;
}

XPathValue XPathEvaluator::value(Part part, const XPathContext& context) {
    if (!m_budget.take(1)) {
        return XPathValue::of(false);
    }
    if (!m_expression.part(part).constant) {
        return compute(part, context);
    }
    std::optional<XPathValue>& known = m_known[part];
    if (!known) {
        known = compute(part, context);
    }
    return m_budget.take(known->string.size()) ? *known : XPathValue::of(false);
}

XPathValue XPathEvaluator::compute(Part number, const XPathContext& context) {
    const XPathPart& part = m_expression.part(number);
    switch (part.op) {
    case XPathOp::Or:
    case XPathOp::And: return XPathValue::of(anyOrAll(part, context));
    case XPathOp::Equality:
    case XPathOp::Relational: return compare(part, context);
    case XPathOp::Additive:
    case XPathOp::Multiplicative: return XPathValue::of(calculate(part, context));
    case XPathOp::Negate: {
        const double inner = this->number(operandOf(part, 0), context);
        const bool minus = m_expression.operand(part.firstOperand).sign == XPathSign::Minus;
        return XPathValue::of(minus ? -inner : inner);
    }
    case XPathOp::Union: return XPathValue::of(unite(part, context));
    case XPathOp::Path: return XPathValue::of(walk(part, context, part.steps));
    case XPathOp::Filter: return XPathValue::of(filtered(part, context));
    case XPathOp::Literal: return XPathValue::of(m_expression.text(part.text));
    case XPathOp::Number: return XPathValue::of(part.number);
    case XPathOp::Call: break;
    }
    return call(part, context);
}

// A path is true as soon as it leads somewhere.
bool XPathEvaluator::boolean(Part number, const XPathContext& context) {
    const XPathPart& part = m_expression.part(number);
    if (part.op == XPathOp::Path && !part.constant) {
        return exists(part, context);
    }
    return XPathValues::toBoolean(value(number, context));
}

double XPathEvaluator::number(Part part, const XPathContext& context) {
    return m_values.toNumber(value(part, context));
}

std::string XPathEvaluator::string(Part part, const XPathContext& context) {
    XPathValue result = value(part, context);
    if (result.type == XPathType::String) {
        return std::move(result.string);
    }
    return m_budget.passed() ? std::string() : m_values.toString(result);
}

NodeList XPathEvaluator::nodes(Part part, const XPathContext& context) {
    const XPathValue result = value(part, context);
    // Without a budget the value is none.
    return result.isNodeSet() && m_budget.take(result.nodes->size()) ? *result.nodes : NodeList();
}

bool XPathEvaluator::anyOrAll(const XPathPart& part, const XPathContext& context) {
    const bool any = part.op == XPathOp::Or;
    for (std::uint32_t i = 0; i < part.operands; ++i) {
        if (boolean(operandOf(part, i), context) == any) {
            return any;
        }
    }
    return !any;
}

XPathValue XPathEvaluator::compare(const XPathPart& part, const XPathContext& context) {
    XPathValue left = value(operandOf(part, 0), context);
    for (std::uint32_t i = 1; i < part.operands && !m_budget.passed(); ++i) {
        const XPathValue right = value(operandOf(part, i), context);
        if (m_budget.passed()) {
            break;
        }
        bool holds = false;
        switch (m_expression.operand(part.firstOperand + i).sign) {
        case XPathSign::Equal: holds = m_values.equal(left, right); break;
        case XPathSign::NotEqual: holds = m_values.notEqual(left, right); break;
        case XPathSign::Less: holds = m_values.less(left, right, false); break;
        case XPathSign::LessEqual: holds = m_values.less(left, right, true); break;
        case XPathSign::Greater: holds = m_values.less(right, left, false); break;
        default: holds = m_values.less(right, left, true); break;
        }
        left = XPathValue::of(holds);
    }
    return left;
}

double XPathEvaluator::calculate(const XPathPart& part, const XPathContext& context) {
    double result = number(operandOf(part, 0), context);
    for (std::uint32_t i = 1; i < part.operands; ++i) {
        const double right = number(operandOf(part, i), context);
        switch (m_expression.operand(part.firstOperand + i).sign) {
        case XPathSign::Plus: result += right; break;
        case XPathSign::Minus: result -= right; break;
        case XPathSign::Times: result *= right; break;
        case XPathSign::Divide: result /= right; break;
        default: result = std::fmod(result, right); break;
        }
    }
    return result;
}

// All sets are joined at once: one after the other, long chains would cost their square.
NodeList XPathEvaluator::unite(const XPathPart& part, const XPathContext& context) {
    NodeList all;
    for (std::uint32_t i = 0; i < part.operands; ++i) {
        const NodeList added = nodes(operandOf(part, i), context);
        all.insert(all.end(), added.begin(), added.end());
    }
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

} // namespace vantrel::xml
