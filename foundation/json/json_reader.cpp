#include "foundation/json/json_value.h"
#include "foundation/text/strings.h"
#include "foundation/text/utf8.h"

#include <new>
#include <utility>

namespace vantrel::json {

namespace {

// A recursive-descent reader over the grammar of RFC 8259; recursion ends at kMaxJsonDepth.
class Reader final {
public:
    explicit Reader(std::string_view text) noexcept : m_text(text) {}

    // JSON-text = ws value ws
    [[nodiscard]] bool readText(JsonValue& value) {
        skipSpace();
        if (!readValue(value, 0)) {
            return false;
        }
        skipSpace();
        return m_at == m_text.size();
    }
    [[nodiscard]] std::size_t position() const noexcept { return m_at; }

private:
    [[nodiscard]] char peek() const noexcept { return m_at < m_text.size() ? m_text[m_at] : '\0'; }
    [[nodiscard]] bool take(char c) noexcept {
        if (m_at >= m_text.size() || m_text[m_at] != c) {
            return false;
        }
        ++m_at;
        return true;
    }
    [[nodiscard]] bool takeWord(std::string_view word) noexcept {
        if (!m_text.substr(m_at).starts_with(word)) {
            return false;
        }
        m_at += word.size();
        return true;
    }
    void skipSpace() noexcept {
        while (m_at < m_text.size() && text::isSpaceAscii(m_text[m_at])) {
            ++m_at;
        }
    }

    [[nodiscard]] bool readValue(JsonValue& value, std::size_t depth);
    [[nodiscard]] bool readArray(JsonValue& value, std::size_t depth);
    [[nodiscard]] bool readObject(JsonValue& value, std::size_t depth);
    [[nodiscard]] bool readString(StringBuffer& out);
    [[nodiscard]] bool readEscape(StringBuffer& out);
    [[nodiscard]] bool readUnicodeEscape(StringBuffer& out);
    [[nodiscard]] bool readHex4(char32_t& unit) noexcept;
    [[nodiscard]] bool readNumber(JsonValue& value);
    [[nodiscard]] bool takeDigits() noexcept;

    std::string_view m_text;
    std::size_t m_at = 0;
};

void append(StringBuffer& out, std::string_view text) {
    if (!out.appendView(text)) {
        throw std::bad_alloc();
    }
}

bool Reader::readValue(JsonValue& value, std::size_t depth) {
    switch (peek()) {
    case '{': return readObject(value, depth + 1);
    case '[': return readArray(value, depth + 1);
    case '"': {
        StringBuffer text;
        if (!readString(text)) {
            return false;
        }
        value = JsonValue::ofText(std::move(text));
        return true;
    }
    case 't': value = JsonValue::ofBool(true); return takeWord("true");
    case 'f': value = JsonValue::ofBool(false); return takeWord("false");
    case 'n': value = JsonValue(); return takeWord("null");
    default: return readNumber(value);
    }
}

// array = "[" [ value *( "," value ) ] "]"
bool Reader::readArray(JsonValue& value, std::size_t depth) {
    if (depth > kMaxJsonDepth || !take('[')) {
        return false;
    }
    value = JsonValue(JsonValue::Kind::Array);
    skipSpace();
    if (take(']')) {
        return true;
    }
    while (true) {
        skipSpace();
        if (!readValue(value.elements().emplace_back(), depth)) {
            return false;
        }
        skipSpace();
        if (!take(',')) {
            return take(']');
        }
    }
}

// object = "{" [ string ":" value *( "," string ":" value ) ] "}"
bool Reader::readObject(JsonValue& value, std::size_t depth) {
    if (depth > kMaxJsonDepth || !take('{')) {
        return false;
    }
    value = JsonValue(JsonValue::Kind::Object);
    skipSpace();
    if (take('}')) {
        return true;
    }
    while (true) {
        skipSpace();
        JsonMember& member = value.members().emplace_back();
        if (!readString(member.name)) {
            return false;
        }
        skipSpace();
        if (!take(':')) {
            return false;
        }
        skipSpace();
        if (!readValue(member.value, depth)) {
            return false;
        }
        skipSpace();
        if (!take(',')) {
            return take('}');
        }
    }
}

bool Reader::readString(StringBuffer& out) {
    if (!take('"')) {
        return false;
    }
    while (true) {
        const std::size_t start = m_at;
        while (m_at < m_text.size() && m_text[m_at] != '"' && m_text[m_at] != '\\' &&
               static_cast<unsigned char>(m_text[m_at]) >= 0x20) {
            ++m_at;
        }
        append(out, m_text.substr(start, m_at - start));
        if (take('"')) {
            return true;
        }
        if (!take('\\') || !readEscape(out)) {
            return false;
        }
    }
}

bool Reader::readEscape(StringBuffer& out) {
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
bool Reader::readUnicodeEscape(StringBuffer& out) {
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

bool Reader::readHex4(char32_t& unit) noexcept {
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

bool Reader::takeDigits() noexcept {
    const std::size_t start = m_at;
    while (text::isDigitAscii(peek())) {
        ++m_at;
    }
    return m_at > start;
}

// number = [ "-" ] int [ "." digits ] [ "e" [ "+" / "-" ] digits ]; no leading zeros.
bool Reader::readNumber(JsonValue& value) {
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
    value = JsonValue::ofNumberText(m_text.substr(start, m_at - start));
    return true;
}

} // namespace

bool parseJson(std::string_view text, JsonValue& value, std::size_t& faultAt) noexcept {
    const std::size_t valid = text::validUtf8Prefix(text);
    if (valid != text.size()) {
        faultAt = valid;
        return false;
    }
    try {
        Reader reader(text);
        JsonValue result;
        if (reader.readText(result)) {
            value = std::move(result);
            return true;
        }
        faultAt = reader.position();
    } catch (const std::bad_alloc&) {
        faultAt = text.size();
    }
    return false;
}

} // namespace vantrel::json
