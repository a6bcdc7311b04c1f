// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/escape.h"

#include "foundation/xml/scan/char_class.h"

#include <algorithm>
#include <array>
#include <initializer_list>

namespace vantrel::xml {

namespace {

// Which bytes are replaced where.
enum Special : std::uint8_t { kInText = 1, kInAttribute = 2, kInLines = 4 };

constexpr std::array<std::uint8_t, 256> makeSpecial() {
    std::array<std::uint8_t, 256> table{};
    table['&'] = table['<'] = kInText | kInAttribute;
    table['>'] = kInText;
    table['"'] = table['\t'] = table['\n'] = kInAttribute;
    table['\r'] = kInText | kInAttribute | kInLines;
    return table;
}

constexpr std::array<std::uint8_t, 256> kSpecial = makeSpecial();

// Passes `text` to put(piece), with each byte of the class replaced by what `escape` says of it.
template <class Put, class Escape>
void putEscaped(std::string_view text, Special where, Put put, Escape escape) {
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((kSpecial[static_cast<unsigned char>(text[i])] & where) == 0) {
            continue;
        }
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        put(text.substr(start, i - start));
        put(escape(text[i], next));
        start = i + 1;
    }
    put(text.substr(start));
}

// A CR before an LF vanishes, any other becomes an LF (XML 1.0, 2.11).
std::string_view lineEnd(char next) noexcept { return next == '\n' ? "" : "\n"; }

// The length of the one of `forms` that stands at `at`; 0 without any. It stops at the first
// character that differs, so what lies behind the text is not read.
std::uint32_t lengthOfOne(std::initializer_list<std::string_view> forms, const char* at) noexcept {
    for (const std::string_view form : forms) {
        if (std::mismatch(form.begin(), form.end(), at).first == form.end()) {
            return static_cast<std::uint32_t>(form.size());
        }
    }
    return 0;
}

std::string_view escapedText(char c) noexcept {
    switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    default: return "&#xD;";
    }
}

std::string_view escapedAttribute(char c) noexcept {
    switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '"': return "&quot;";
    case '\t': return "&#x9;";
    case '\n': return "&#xA;";
    default: return "&#xD;";
    }
}

} // namespace

void putTextCharacter(char32_t c, CanonOutput& out) {
    if (c == U'&' || c == U'<' || c == U'>' || c == U'\r') {
        out.put(escapedText(static_cast<char>(c)));
        return;
    }
    char bytes[4];
    const std::uint32_t length = encodeUtf8(c, bytes);
    out.put(std::string_view(bytes, length));
}

void putCdata(std::string_view raw, CanonOutput& out) {
    putEscaped(
        raw, kInText, [&out](std::string_view piece) { out.put(piece); },
        [](char c, char next) { return c == '\r' ? lineEnd(next) : escapedText(c); });
}

void putAttributeValue(std::string_view value, CanonOutput& out) {
    putEscaped(
        value, kInAttribute, [&out](std::string_view piece) { out.put(piece); },
        [](char c, char) { return escapedAttribute(c); });
}

void appendAttributeEscaped(std::string_view value, std::string& out) {
    putEscaped(
        value, kInAttribute, [&out](std::string_view piece) { out += piece; },
        [](char c, char) { return escapedAttribute(c); });
}

void putLines(std::string_view raw, CanonOutput& out) {
    putEscaped(
        raw, kInLines, [&out](std::string_view piece) { out.put(piece); },
        [](char, char next) { return lineEnd(next); });
}

std::uint32_t canonicalReference(const char* at) noexcept {
    return lengthOfOne({"&amp;", "&lt;", "&gt;", "&#xD;"}, at);
}

std::uint32_t canonicalAttributeReference(const char* at) noexcept {
    return lengthOfOne({"&amp;", "&lt;", "&quot;", "&#x9;", "&#xA;", "&#xD;"}, at);
}

} // namespace vantrel::xml
