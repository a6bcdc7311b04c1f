// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_XPATH_PARSER_H
#define FOUNDATION_XML_XPATH_PARSER_H

#include "foundation/xml/xpath/expression.h"
#include "foundation/xml/xpath/tokens.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::xml {

// Compiles one expression. It descends as deep as parentheses, predicates and arguments are nested,
// which is limited; a failed parse leaves its first reason and reads on to nothing.
class XPathParser final {
public:
    XPathParser(std::string_view source, const XPathNamespaces& namespaces) noexcept
        : m_tokens(source), m_namespaces(namespaces) {}

    [[nodiscard]] bool parse(XPathExpression& out, std::string& why);

private:
    using Part = std::uint32_t;
    static constexpr Part kNoPart = 0xFFFFFFFF;

    // Each returns the part that it read, or kNoPart after fail().
    [[nodiscard]] Part parseExpression();
    [[nodiscard]] Part parseChain(std::uint32_t level);
    [[nodiscard]] Part parseUnary();
    [[nodiscard]] Part parseUnion();
    [[nodiscard]] Part parsePath();
    [[nodiscard]] Part parseLocation(Part start);
    [[nodiscard]] Part parsePrimary();
    [[nodiscard]] Part parseCall();
    [[nodiscard]] bool parseSteps(std::vector<XPathStep>& steps);
    [[nodiscard]] bool parseStep(XPathStep& step);
    [[nodiscard]] bool parseNodeTest(XPathStep& step);
    [[nodiscard]] bool parseNodeType(XPathStep& step);
    [[nodiscard]] bool parseNameTest(XPathStep& step);
    [[nodiscard]] bool parsePredicates(std::vector<XPathOperand>& predicates);
    [[nodiscard]] bool attachPredicates(XPathStep& step);

    // A part with these operands; constant when they are.
    [[nodiscard]] Part add(XPathOp op, XPathType type, std::span<const XPathOperand> operands);
    [[nodiscard]] Part addPath(Part start, bool absolute, std::vector<XPathStep>& steps);
    [[nodiscard]] std::uint32_t addText(std::string_view text);
    [[nodiscard]] bool isNodeSet(Part part) const {
        return m_out.m_parts[part].type == XPathType::NodeSet;
    }
    [[nodiscard]] bool startsStep() const noexcept;
    [[nodiscard]] bool enter();
    void leave() noexcept { --m_nesting; }
    void advance() noexcept { m_token = m_tokens.next(); }
    bool fail(std::string_view message);
    Part failPart(std::string_view message) {
        fail(message);
        return kNoPart;
    }

    XPathTokens m_tokens;
    const XPathNamespaces& m_namespaces;
    XPathToken m_token;
    XPathExpression m_out;
    std::string m_why;
    std::uint32_t m_nesting = 0;
};

} // namespace vantrel::xml

#endif
