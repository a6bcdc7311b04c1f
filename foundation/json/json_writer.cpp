// SPDX-License-Identifier: MIT
#include "foundation/json/json_writer.h"

#include "foundation/json/json_value.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace vantrel::json {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

using Digits = std::array<char, 24>;

std::string_view digitsOf(std::int64_t value, Digits& room) noexcept {
    const auto end = std::to_chars(room.data(), room.data() + room.size(), value).ptr;
    return {room.data(), static_cast<std::size_t>(end - room.data())};
}

bool standsAsItIs(char c) noexcept {
    const auto code = static_cast<unsigned char>(c);
    return code >= 0x20 && code < 0x7F && c != '"' && c != '\\';
}

constexpr std::size_t kWord = sizeof(std::uint64_t);

// The same of eight letters at once. A letter that stands leaves the top bit of its octet clear in
// every sum; what is carried into its neighbour comes only from one that does not.
bool eightStand(const char* letters) noexcept {
    constexpr std::uint64_t kOnes = 0x0101010101010101U;
    constexpr std::uint64_t kTops = 0x80 * kOnes;
    std::uint64_t word = 0;
    std::memcpy(&word, letters, kWord);
    const std::uint64_t quotes = word ^ ('"' * kOnes);
    const std::uint64_t backslashes = word ^ ('\\' * kOnes);
    const std::uint64_t faults =
        word | (word + kOnes) | (word - 0x20 * kOnes) | (quotes - kOnes) | (backslashes - kOnes);
    return (faults & kTops) == 0;
}

// Whether all of it does.
bool standsAsItIs(std::string_view text) noexcept {
    if (text.size() < kWord) {
        return std::all_of(text.begin(), text.end(), [](char c) { return standsAsItIs(c); });
    }
    // The last word may lap over the one before it.
    bool all = eightStand(text.data() + text.size() - kWord);
    for (std::size_t at = 0; at + kWord < text.size() && all; at += kWord) {
        all = eightStand(text.data() + at);
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

// The same for a name with its value.
bool JsonWriter::putMember(std::string_view name, std::string_view quote, std::string_view value) {
    std::array<char, 512> room;
    constexpr std::size_t kAround = 6; // a comma, a colon, two pairs of quotes
    if (name.size() > room.size() / 2 || value.size() > room.size() / 2 - kAround ||
        !standsAsItIs(name) || !standsAsItIs(value)) {
        return false;
    }
    char* end = room.data();
    const auto add = [&end](std::string_view piece) {
        end = std::copy(piece.begin(), piece.end(), end);
    };
    add(m_needsComma ? ",\"" : "\"");
    add(name);
    add("\":");
    add(quote);
    add(value);
    add(quote);
    m_needsComma = true;
    put({room.data(), static_cast<std::size_t>(end - room.data())});
    return true;
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
    Digits digits;
    raw(digitsOf(value, digits));
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
    if (!putMember(name, "\"", value)) {
        key(name);
        text(value);
    }
}

void JsonWriter::integerMember(std::string_view name, std::int64_t value) {
    Digits digits;
    if (!putMember(name, {}, digitsOf(value, digits))) {
        key(name);
        integer(value);
    }
}

void JsonWriter::booleanMember(std::string_view name, bool value) {
    if (!putMember(name, {}, value ? "true" : "false")) {
        key(name);
        boolean(value);
    }
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
