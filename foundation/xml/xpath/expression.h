// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_XPATH_EXPRESSION_H
#define FOUNDATION_XML_XPATH_EXPRESSION_H

#include "foundation/xml/xpath/functions.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::xml {

// What an expression may be, each with its own error.
inline constexpr std::size_t kMaxXPathSize = std::size_t{1} << 20; // bytes
inline constexpr std::uint32_t kMaxXPathNesting = 100; // parentheses, predicates, arguments

enum class XPathAxis : std::uint8_t {
    Ancestor,
    AncestorOrSelf,
    Attribute,
    Child,
    Descendant,
    DescendantOrSelf,
    Following,
    FollowingSibling,
    Namespace,
    Parent,
    Preceding,
    PrecedingSibling,
    Self
};

// Node tests (XPath 1.0, 2.3).
enum class XPathTest : std::uint8_t {
    Name,         // space and local
    AnyName,      // *
    AnyInSpace,   // prefix:*
    Node,         // node()
    Text,         // text()
    Comment,      // comment()
    Instruction,  // processing-instruction()
    InstructionOf // processing-instruction('local')
};

struct XPathStep {
    XPathAxis axis = XPathAxis::Child;
    XPathTest test = XPathTest::Node;
    std::uint32_t space = 0; // numbers of texts
    std::uint32_t local = 0;
    std::uint32_t firstPredicate = 0; // in the operands
    std::uint32_t predicates = 0;
    bool positional = false; // a predicate asks for the position, or may be a number
};

enum class XPathOp : std::uint8_t {
    Or,
    And,
    Equality, // chains of operands with = and !=, and so on below: from the left
    Relational,
    Additive,
    Multiplicative,
    Negate,
    Union,
    Path,   // steps from the context node, from the root, or from an operand
    Filter, // an operand with predicates; the operand comes first
    Literal,
    Number,
    Call
};

// What stands before an operand of a chain.
enum class XPathSign : std::uint8_t {
    None,
    Equal,
    NotEqual,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    Plus,
    Minus,
    Times,
    Divide,
    Modulo
};

// A part of an expression. Operands are numbers of other parts, so that nothing is as deep as the
// expression is long: chains of one precedence are one part.
struct XPathPart {
    XPathOp op = XPathOp::Number;
    XPathType type = XPathType::Number; // of its value
    bool constant = false;              // the same for every context node
    bool positional = false;            // uses position() or last() of its own context
    bool absolute = false;              // Path: from the root
    XPathFunction function = XPathFunction::True;
    std::uint32_t firstOperand = 0;
    std::uint32_t operands = 0;
    std::uint32_t firstStep = 0; // Path
    std::uint32_t steps = 0;
    std::uint32_t text = 0; // Literal
    double number = 0;
};

struct XPathOperand {
    std::uint32_t part;
    XPathSign sign;
};

// The namespace name that a prefix of an expression stands for; nothing for one that is unknown.
using XPathNamespaces = std::function<std::optional<std::string>(std::string_view prefix)>;

// A compiled XPath 1.0 expression: checked wholly, with the types of all its parts, names resolved.
// Flat arrays; a value that can be copied and shared by threads.
class XPathExpression final {
public:
    // Nothing, with the reason in `why`, for what is no XPath 1.0, has a wrong type, an unknown
    // function, an undeclared prefix or a variable (there are no bindings), or passes a limit.
    [[nodiscard]] static std::optional<XPathExpression> compile(std::string_view source,
                                                                const XPathNamespaces& namespaces,
                                                                std::string& why);

    [[nodiscard]] const XPathPart& part(std::uint32_t number) const noexcept {
        return m_parts[number];
    }
    [[nodiscard]] std::uint32_t partCount() const noexcept {
        return static_cast<std::uint32_t>(m_parts.size());
    }
    [[nodiscard]] std::uint32_t top() const noexcept { return m_top; }
    // Whether the function stands anywhere in it.
    [[nodiscard]] bool calls(XPathFunction function) const noexcept {
        for (const XPathPart& each : m_parts) {
            if (each.op == XPathOp::Call && each.function == function) {
                return true;
            }
        }
        return false;
    }
    [[nodiscard]] const XPathOperand& operand(std::uint32_t number) const noexcept {
        return m_operands[number];
    }
    [[nodiscard]] const XPathStep& step(std::uint32_t number) const noexcept {
        return m_steps[number];
    }
    [[nodiscard]] std::uint32_t stepCount() const noexcept {
        return static_cast<std::uint32_t>(m_steps.size());
    }
    [[nodiscard]] const std::string& text(std::uint32_t number) const noexcept {
        return m_texts[number];
    }
    [[nodiscard]] XPathType type() const noexcept { return m_parts[m_top].type; }
    // Two parts that are written alike, but for white space and abbreviation.
    [[nodiscard]] bool same(std::uint32_t one, std::uint32_t other) const;

private:
    friend class XPathParser;
    [[nodiscard]] bool sameSteps(const XPathPart& one, const XPathPart& other) const;

    std::vector<XPathPart> m_parts;
    std::vector<XPathOperand> m_operands;
    std::vector<XPathStep> m_steps;
    std::vector<std::string> m_texts; // 0: empty
    std::uint32_t m_top = 0;
};

} // namespace vantrel::xml

#endif
