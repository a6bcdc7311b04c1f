// SPDX-License-Identifier: MIT
#include "foundation/json/json_writer.h"

#include "foundation/json/json_value.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/utf8.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace vantrel::json {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool standsAsItIs(char c) noexcept {
    const auto code = static_cast<unsigned char>(c);
    return code >= 0x20 && code < 0x7F && c != '"' && c != '\\';
}

// Whether all of it does; without an early end, so that it is looked at in wide steps.
bool standsAsItIs(std::string_view text) noexcept {
    bool all = true;
    for (const char c : text) {
        all = standsAsItIs(c) && all;
    }
    return all;
}

} // namespace

void JsonWriter::put(std::string_view piece) {
    if (m_ok && (m_out.getSize() > m_most || piece.size() > m_most - m_out.getSize())) {
        m_passedLimit = true;
        m_ok = false;
    }
    m_ok = m_ok && m_out.appendView(piece);
}

void JsonWriter::divide() {
    if (m_needsComma) {
        put(",");
    }
    m_needsComma = true;
}

// Most strings are short and plain: those are put in one piece with what stands around them.
void JsonWriter::putQuoted(std::string_view text, std::string_view behind) {
    std::array<char, 256> room;
    const std::string_view before = m_needsComma ? ",\"" : "\"";
    if (before.size() + text.size() + behind.size() >= room.size() || !standsAsItIs(text)) {
        divide();
        quote(text);
        put(behind);
        return;
    }
    char* end = std::copy(before.begin(), before.end(), room.data());
    end = std::copy(text.begin(), text.end(), end);
    *end++ = '"';
    end = std::copy(behind.begin(), behind.end(), end);
    m_needsComma = true;
    put({room.data(), static_cast<std::size_t>(end - room.data())});
}

void JsonWriter::open(char bracket) {
    divide();
    put({&bracket, 1});
    m_needsComma = false;
}

void JsonWriter::close(char bracket) {
    put({&bracket, 1});
    m_needsComma = true;
}

void JsonWriter::key(std::string_view name) {
    putQuoted(name, ":");
    m_needsComma = false;
}

void JsonWriter::text(std::string_view value) { putQuoted(value, {}); }

void JsonWriter::integer(std::int64_t value) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    raw({digits.data(), static_cast<std::size_t>(end - digits.data())});
}

void JsonWriter::boolean(bool value) { raw(value ? "true" : "false"); }

void JsonWriter::null() { raw("null"); }

void JsonWriter::raw(std::string_view json) {
    divide();
    put(json);
}

void JsonWriter::value(const JsonValue& value) {
    switch (value.kind()) {
    case JsonValue::Kind::Null: null(); break;
    case JsonValue::Kind::False: boolean(false); break;
    case JsonValue::Kind::True: boolean(true); break;
    case JsonValue::Kind::Number: raw(value.text()); break;
    case JsonValue::Kind::String: text(value.text()); break;
    case JsonValue::Kind::Array:
        beginArray();
        for (const JsonValue& element : value.elements()) {
            this->value(element);
        }
        endArray();
        break;
    case JsonValue::Kind::Object:
        beginObject();
        for (const JsonMember& member : value.members()) {
            key(member.name);
            this->value(member.value);
        }
        endObject();
        break;
    }
}

void JsonWriter::textMember(std::string_view name, std::string_view value) {
    key(name);
    text(value);
}

void JsonWriter::integerMember(std::string_view name, std::int64_t value) {
    key(name);
    integer(value);
}

void JsonWriter::booleanMember(std::string_view name, bool value) {
    key(name);
    boolean(value);
}

void JsonWriter::quote(std::string_view text) {
    constexpr std::string_view kEscaped = "\"\\\b\f\n\r\t";
    constexpr std::string_view kEscapes = "\"\\bfnrt";
    constexpr std::string_view kHex = "0123456789abcdef";
    put("\"");
    while (!text.empty()) {
        std::size_t run = 0;
        while (run < text.size() && standsAsItIs(text[run])) {
            ++run;
        }
        put(text.substr(0, run));
        text.remove_prefix(run);
        if (text.empty()) {
            break;
        }
        const char c = text.front();
        char32_t character = 0;
        std::size_t taken = text::decodeUtf8(text, character);
        if (const std::size_t which = kEscaped.find(c); which != kEscaped.npos) {
            const char escape[] = {'\\', kEscapes[which]};
            put({escape, 2});
        } else if (taken == 0) {
            put(kReplacement);
            taken = 1;
        } else if (character < 0x20 || character == 0x7F) {
            const char escape[] = {'\\', 'u', '0', '0', kHex[character >> 4], kHex[character & 15]};
            put({escape, sizeof escape});
        } else {
            put(text.substr(0, taken));
        }
        text.remove_prefix(taken);
    }
    put("\"");
}

} // namespace vantrel::json
