// SPDX-License-Identifier: MIT
#include "foundation/json/json_tokens.h"
#include "foundation/json/json_value.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/utf8.h"

#include <new>
#include <string>
#include <utility>

namespace vantrel::json {

namespace {

// A recursive-descent reader over the grammar of RFC 8259; recursion ends at kMaxJsonDepth.
class Reader final {
public:
    explicit Reader(std::string_view text) noexcept : m_tokens(text) {}

    // JSON-text = ws value ws
    [[nodiscard]] bool readText(JsonValue& value) {
        m_tokens.skipSpace();
        if (!readValue(value, 0)) {
            return false;
        }
        m_tokens.skipSpace();
        return m_tokens.atEnd();
    }
    [[nodiscard]] std::size_t position() const noexcept { return m_tokens.position(); }

private:
    [[nodiscard]] bool readValue(JsonValue& value, std::size_t depth);
    [[nodiscard]] bool readString(std::string& text);
    [[nodiscard]] bool readArray(JsonValue& value, std::size_t depth);
    [[nodiscard]] bool readObject(JsonValue& value, std::size_t depth);

    JsonTokens m_tokens;
};

bool Reader::readValue(JsonValue& value, std::size_t depth) {
    switch (m_tokens.peek()) {
    case '{': return readObject(value, depth + 1);
    case '[': return readArray(value, depth + 1);
    case '"': {
        std::string text;
        if (!readString(text)) {
            return false;
        }
        value = JsonValue::ofText(std::move(text));
        return true;
    }
    case 't': value = JsonValue::ofBool(true); return m_tokens.takeWord("true");
    case 'f': value = JsonValue::ofBool(false); return m_tokens.takeWord("false");
    case 'n': value = JsonValue(); return m_tokens.takeWord("null");
    default: {
        std::string_view number;
        if (!m_tokens.readNumber(number)) {
            return false;
        }
        value = JsonValue::ofNumberText(number);
        return true;
    }
    }
}

bool Reader::readString(std::string& text) {
    std::string_view plain;
    if (m_tokens.readPlainString(plain)) {
        text = plain;
        return true;
    }
    StringBuffer read;
    if (!m_tokens.readString(&read)) {
        return false;
    }
    text = read.view();
    return true;
}

// array = "[" [ value *( "," value ) ] "]"
bool Reader::readArray(JsonValue& value, std::size_t depth) {
    if (depth > kMaxJsonDepth || !m_tokens.take('[')) {
        return false;
    }
    value = JsonValue(JsonValue::Kind::Array);
    m_tokens.skipSpace();
    if (m_tokens.take(']')) {
        return true;
    }
    while (true) {
        m_tokens.skipSpace();
        if (!readValue(value.elements().emplace_back(), depth)) {
            return false;
        }
        m_tokens.skipSpace();
        if (!m_tokens.take(',')) {
            return m_tokens.take(']');
        }
    }
}

// object = "{" [ string ":" value *( "," string ":" value ) ] "}"
bool Reader::readObject(JsonValue& value, std::size_t depth) {
    if (depth > kMaxJsonDepth || !m_tokens.take('{')) {
        return false;
    }
    value = JsonValue(JsonValue::Kind::Object);
    m_tokens.skipSpace();
    if (m_tokens.take('}')) {
        return true;
    }
    constexpr std::size_t kUsualMembers = 8;
    value.members().reserve(kUsualMembers);
    while (true) {
        m_tokens.skipSpace();
        JsonMember& member = value.members().emplace_back();
        if (!readString(member.name)) {
            return false;
        }
        m_tokens.skipSpace();
        if (!m_tokens.take(':')) {
            return false;
        }
        m_tokens.skipSpace();
        if (!readValue(member.value, depth)) {
            return false;
        }
        m_tokens.skipSpace();
        if (!m_tokens.take(',')) {
            return m_tokens.take('}');
        }
    }
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
