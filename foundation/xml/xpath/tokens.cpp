// SPDX-License-Identifier: MIT
#include "foundation/xml/xpath/tokens.h"

#include "foundation/text/strings.h"
#include "foundation/xml/scan/char_class.h"

namespace vantrel::xml {

using text::isDigitAscii;

namespace {

// Two marks before one, so that the longest is taken.
constexpr std::string_view kSymbols[] = {"//", "::", "..", "!=", "<=", ">=", "(", ")", "[", "]",
                                         ".",  "@",  ",",  "/",  "|",  "+",  "-", "=", "<", ">"};

// Length of the NCName at the beginning of `text`.
std::size_t matchNcName(std::string_view text) noexcept {
    const std::string_view name = text.substr(0, matchName(text));
    const std::size_t colon = name.find(':');
    return colon == name.npos ? name.size() : colon;
}

} // namespace

XPathToken XPathTokens::next() noexcept {
    skipSpace();
    const XPathToken token = read();
    m_first = false;
    m_last = token;
    return token;
}

void XPathTokens::skipSpace() noexcept {
    while (m_at < m_source.size() && isSpace(m_source[m_at])) {
        ++m_at;
    }
}

XPathToken XPathTokens::take(XPathTokenKind kind, std::size_t length) noexcept {
    const XPathToken token{kind, rest().substr(0, length)};
    m_at += length;
    return token;
}

// XPath 1.0, 3.7: behind an operand a star is a product and a name an operator.
bool XPathTokens::operatorExpected() const noexcept {
    if (m_first) {
        return false;
    }
    switch (m_last.kind) {
    case XPathTokenKind::Symbol:
        return m_last.text == ")" || m_last.text == "]" || m_last.text == "." ||
               m_last.text == "..";
    case XPathTokenKind::Operator:
    case XPathTokenKind::Function:
    case XPathTokenKind::Axis: return false;
    default: return true;
    }
}

XPathToken XPathTokens::read() noexcept {
    const std::string_view text = rest();
    if (text.empty()) {
        return {};
    }
    const char c = text.front();
    if (isDigitAscii(c) || (c == '.' && text.size() > 1 && isDigitAscii(text[1]))) {
        return readNumber();
    }
    if (c == '"' || c == '\'') {
        return readLiteral();
    }
    if (c == '*') {
        return take(operatorExpected() ? XPathTokenKind::Operator : XPathTokenKind::Name, 1);
    }
    for (const std::string_view symbol : kSymbols) {
        if (text.starts_with(symbol)) {
            return take(XPathTokenKind::Symbol, symbol.size());
        }
    }
    if (c == '$') {
        return take(XPathTokenKind::Variable, 1 + matchName(text.substr(1)));
    }
    return readName();
}

// Number ::= Digits ('.' Digits?)? | '.' Digits
XPathToken XPathTokens::readNumber() noexcept {
    const std::string_view text = rest();
    std::size_t length = 0;
    while (length < text.size() && isDigitAscii(text[length])) {
        ++length;
    }
    if (length < text.size() && text[length] == '.') {
        ++length;
        while (length < text.size() && isDigitAscii(text[length])) {
            ++length;
        }
    }
    return take(XPathTokenKind::Number, length);
}

XPathToken XPathTokens::readLiteral() noexcept {
    const std::string_view text = rest();
    const std::size_t end = text.find(text.front(), 1);
    if (end == text.npos) {
        return take(XPathTokenKind::Bad, text.size());
    }
    XPathToken token = take(XPathTokenKind::Literal, end + 1);
    token.text = text.substr(1, end - 1);
    return token;
}

XPathToken XPathTokens::readName() noexcept {
    std::string_view text = rest();
    const std::size_t first = matchNcName(text);
    if (first == 0) {
        return take(XPathTokenKind::Bad, 1);
    }
    if (operatorExpected()) {
        return take(XPathTokenKind::Operator, first);
    }
    std::size_t length = first;
    if (text.size() > length + 1 && text[length] == ':' && text[length + 1] != ':') {
        const std::size_t second =
            text[length + 1] == '*' ? 1 : matchNcName(text.substr(length + 1));
        if (second == 0) {
            return take(XPathTokenKind::Bad, length + 1);
        }
        length += 1 + second;
    }
    const XPathToken token = take(XPathTokenKind::Name, length);
    const std::size_t end = m_at;
    skipSpace();
    text = rest();
    m_at = end;
    if (text.starts_with("(")) {
        return {XPathTokenKind::Function, token.text};
    }
    if (text.starts_with("::")) {
        return {XPathTokenKind::Axis, token.text};
    }
    return token;
}

} // namespace vantrel::xml
