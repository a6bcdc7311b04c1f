// SPDX-License-Identifier: MIT
#include "foundation/json/json_tokens.h"

#include "foundation/text/StringBuffer.h"
#include "foundation/text/strings.h"
#include "foundation/text/utf8.h"

#include <array>
#include <new>

namespace vantrel::json {

namespace {

// Nowhere where the text is only to be passed.
void append(StringBuffer* out, std::string_view text) {
    if (out != nullptr && !out->appendView(text)) {
        throw std::bad_alloc();
    }
}

} // namespace

bool JsonTokens::take(char c) noexcept {
    if (m_at >= m_text.size() || m_text[m_at] != c) {
        return false;
    }
    ++m_at;
    return true;
}

bool JsonTokens::takeWord(std::string_view word) noexcept {
    if (!m_text.substr(m_at).starts_with(word)) {
        return false;
    }
    m_at += word.size();
    return true;
}

void JsonTokens::skipSpace() noexcept {
    while (m_at < m_text.size() && text::isSpaceAscii(m_text[m_at])) {
        ++m_at;
    }
}

std::size_t JsonTokens::endOfRun() const noexcept {
    const std::string_view text = m_text;
    std::size_t at = m_at;
    while (at < text.size() && text[at] != '"' && text[at] != '\\' &&
           static_cast<unsigned char>(text[at]) >= 0x20) {
        ++at;
    }
    return at;
}

bool JsonTokens::readPlainString(std::string_view& text) noexcept {
    const std::size_t start = m_at;
    if (take('"')) {
        const std::size_t end = endOfRun();
        text = m_text.substr(m_at, end - m_at);
        m_at = end;
        if (take('"')) {
            return true;
        }
    }
    m_at = start;
    return false;
}

bool JsonTokens::readString(StringBuffer* out) {
    if (!take('"')) {
        return false;
    }
    while (true) {
        const std::size_t start = m_at;
        m_at = endOfRun();
        append(out, m_text.substr(start, m_at - start));
        if (take('"')) {
            return true;
        }
        if (!take('\\') || !readEscape(out)) {
            return false;
        }
    }
}

bool JsonTokens::readEscape(StringBuffer* out) {
    constexpr std::string_view kNames = "\"\\/bfnrt";
    constexpr std::string_view kValues = "\"\\/\b\f\n\r\t";
    if (take('u')) {
        return readUnicodeEscape(out);
    }
    const std::size_t which = m_at < m_text.size() ? kNames.find(m_text[m_at]) : kNames.npos;
    if (which == kNames.npos) {
        return false;
    }
    ++m_at;
    append(out, kValues.substr(which, 1));
    return true;
}

// Characters beyond the basic plane are written as a pair of surrogates; a lone one is a fault.
bool JsonTokens::readUnicodeEscape(StringBuffer* out) {
    char32_t character = 0;
    if (!readHex4(character) || (character >= 0xDC00 && character <= 0xDFFF)) {
        return false;
    }
    if (character >= 0xD800 && character <= 0xDBFF) {
        char32_t low = 0;
        if (!takeWord("\\u") || !readHex4(low) || low < 0xDC00 || low > 0xDFFF) {
            return false;
        }
        character = 0x10000 + ((character - 0xD800) << 10) + (low - 0xDC00);
    }
    char bytes[4];
    const std::size_t count = text::encodeUtf8(character, bytes);
    append(out, {bytes, count});
    return true;
}

bool JsonTokens::readHex4(char32_t& unit) noexcept {
    unit = 0;
    for (int i = 0; i < 4; ++i, ++m_at) {
        const int digit = text::hexDigitValue(peek());
        if (digit < 0) {
            return false;
        }
        unit = unit << 4 | static_cast<char32_t>(digit);
    }
    return true;
}

bool JsonTokens::takeDigits() noexcept {
    const std::size_t start = m_at;
    while (text::isDigitAscii(peek())) {
        ++m_at;
    }
    return m_at > start;
}

// number = [ "-" ] int [ "." digits ] [ "e" [ "+" / "-" ] digits ]; no leading zeros.
bool JsonTokens::readNumber(std::string_view& number) noexcept {
    const std::size_t start = m_at;
    static_cast<void>(take('-'));
    if (!take('0') && !takeDigits()) {
        return false;
    }
    if (take('.') && !takeDigits()) {
        return false;
    }
    if (take('e') || take('E')) {
        static_cast<void>(take('+') || take('-'));
        if (!takeDigits()) {
            return false;
        }
    }
    number = m_text.substr(start, m_at - start);
    return true;
}

bool JsonTokens::passScalar() {
    switch (peek()) {
    case '"': return readString(nullptr);
    case 't': return takeWord("true");
    case 'f': return takeWord("false");
    case 'n': return takeWord("null");
    default: break;
    }
    std::string_view number;
    return readNumber(number);
}

// string ws ":"
bool JsonTokens::passName() {
    if (!readString(nullptr)) {
        return false;
    }
    skipSpace();
    return take(':');
}

// `open` holds the brackets that end what is open, the innermost last.
bool JsonTokens::passValue() {
    std::array<char, kMaxJsonDepth> open{};
    std::size_t depth = 0;
    do {
        skipSpace();
        const char first = peek();
        if (first == '{' || first == '[') {
            if (depth == open.size()) {
                return false;
            }
            ++m_at;
            open[depth++] = first == '{' ? '}' : ']';
            skipSpace();
            if (!take(open[depth - 1])) {
                if (first == '{' && !passName()) {
                    return false;
                }
                continue;
            }
            --depth;
        } else if (!passScalar()) {
            return false;
        }
        if (!passEnds(open, depth)) {
            return false;
        }
    } while (depth > 0);
    return true;
}

// Behind a value: the brackets that end what it stands in, up to a comma, where another one begins.
bool JsonTokens::passEnds(const std::array<char, kMaxJsonDepth>& open, std::size_t& depth) {
    while (depth > 0) {
        const char end = open[depth - 1];
        skipSpace();
        if (take(',')) {
            skipSpace();
            return end == ']' || passName();
        }
        if (!take(end)) {
            return false;
        }
        --depth;
    }
    return true;
}

} // namespace vantrel::json
