// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_XPATH_TOKENS_H
#define FOUNDATION_XML_XPATH_TOKENS_H

#include <cstdint>
#include <string_view>

namespace vantrel::xml {

enum class XPathTokenKind : std::uint8_t {
    End,
    Symbol,   // ( ) [ ] . .. @ , :: and the operators made of marks
    Operator, // a name that is an operator here: and, or, mod, div; and * as one
    Name,     // NCName, QName, or NCName:*; also *, where it is no operator
    Function, // a name before a parenthesis, node types included
    Axis,     // a name before "::"
    Literal,  // without its quotes
    Number,
    Variable, // with its "$"
    Bad       // no token of XPath 1.0
};

struct XPathToken {
    XPathTokenKind kind = XPathTokenKind::End;
    std::string_view text;

    [[nodiscard]] bool is(XPathTokenKind wanted, std::string_view spelling) const noexcept {
        return kind == wanted && text == spelling;
    }
    [[nodiscard]] bool isSymbol(std::string_view spelling) const noexcept {
        return is(XPathTokenKind::Symbol, spelling);
    }
    // An operator of either kind.
    [[nodiscard]] bool isOperator(std::string_view spelling) const noexcept {
        return (kind == XPathTokenKind::Symbol || kind == XPathTokenKind::Operator) &&
               text == spelling;
    }
};

// The tokens of an expression, one by one (XPath 1.0, 3.7). What a name means depends on its
// neighbours, which is settled here.
class XPathTokens final {
public:
    explicit XPathTokens(std::string_view source) noexcept : m_source(source) {}
    [[nodiscard]] XPathToken next() noexcept;

private:
    [[nodiscard]] XPathToken read() noexcept;
    [[nodiscard]] XPathToken readNumber() noexcept;
    [[nodiscard]] XPathToken readLiteral() noexcept;
    [[nodiscard]] XPathToken readName() noexcept;
    [[nodiscard]] XPathToken take(XPathTokenKind kind, std::size_t length) noexcept;
    void skipSpace() noexcept;
    [[nodiscard]] std::string_view rest() const noexcept { return m_source.substr(m_at); }
    [[nodiscard]] bool operatorExpected() const noexcept;

    std::string_view m_source;
    std::size_t m_at = 0;
    XPathToken m_last;
    bool m_first = true;
};

} // namespace vantrel::xml

#endif
