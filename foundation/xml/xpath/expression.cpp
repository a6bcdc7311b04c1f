// SPDX-License-Identifier: MIT
#include "foundation/xml/xpath/expression.h"

namespace vantrel::xml {

namespace {

bool sameTest(const XPathExpression& expression, const XPathStep& one, const XPathStep& other) {
    return one.axis == other.axis && one.test == other.test && one.predicates == other.predicates &&
           expression.text(one.space) == expression.text(other.space) &&
           expression.text(one.local) == expression.text(other.local);
}

bool sameHead(const XPathExpression& expression, const XPathPart& one, const XPathPart& other) {
    return one.op == other.op && one.operands == other.operands && one.steps == other.steps &&
           one.absolute == other.absolute && one.function == other.function &&
           one.number == other.number && expression.text(one.text) == expression.text(other.text);
}

} // namespace

// As deep as the expression is nested, which compile() has limited.
bool XPathExpression::same(std::uint32_t one, std::uint32_t other) const {
    const XPathPart& first = m_parts[one];
    const XPathPart& second = m_parts[other];
    if (!sameHead(*this, first, second)) {
        return false;
    }
    for (std::uint32_t i = 0; i < first.operands; ++i) {
        const XPathOperand& left = m_operands[first.firstOperand + i];
        const XPathOperand& right = m_operands[second.firstOperand + i];
        if (left.sign != right.sign || !same(left.part, right.part)) {
            return false;
        }
    }
    return sameSteps(first, second);
}

bool XPathExpression::sameSteps(const XPathPart& one, const XPathPart& other) const {
    for (std::uint32_t i = 0; i < one.steps; ++i) {
        const XPathStep& left = m_steps[one.firstStep + i];
        const XPathStep& right = m_steps[other.firstStep + i];
        if (!sameTest(*this, left, right)) {
            return false;
        }
        for (std::uint32_t k = 0; k < left.predicates; ++k) {
            if (!same(m_operands[left.firstPredicate + k].part,
                      m_operands[right.firstPredicate + k].part)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace vantrel::xml
