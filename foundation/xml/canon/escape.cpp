#include "foundation/xml/canon/escape.h"

#include "foundation/xml/scan/char_class.h"

namespace vantrel::xml {

namespace {

constexpr std::string_view kAttributeSpecial = "&<\"\t\n\r";

// Passes `text` to put(piece), with each byte of `special` replaced by what `escape` says of it.
template <class Put, class Escape>
void putEscaped(std::string_view text, std::string_view special, Put put, Escape escape) {
    for (;;) {
        const std::size_t stop = text.find_first_of(special);
        put(text.substr(0, stop));
        if (stop == std::string_view::npos) {
            return;
        }
        const char next = stop + 1 < text.size() ? text[stop + 1] : '\0';
        put(escape(text[stop], next));
        text.remove_prefix(stop + 1);
    }
}

// A CR before an LF vanishes, any other becomes an LF (XML 1.0, 2.11).
std::string_view lineEnd(char next) noexcept {
    return next == '\n' ? std::string_view() : std::string_view("\n");
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
        raw, "&<>\r", [&out](std::string_view piece) { out.put(piece); },
        [](char c, char next) { return c == '\r' ? lineEnd(next) : escapedText(c); });
}

void putAttributeValue(std::string_view value, CanonOutput& out) {
    putEscaped(
        value, kAttributeSpecial, [&out](std::string_view piece) { out.put(piece); },
        [](char c, char) { return escapedAttribute(c); });
}

void appendAttributeEscaped(std::string_view value, std::string& out) {
    putEscaped(
        value, kAttributeSpecial, [&out](std::string_view piece) { out += piece; },
        [](char c, char) { return escapedAttribute(c); });
}

void putLines(std::string_view raw, CanonOutput& out) {
    putEscaped(
        raw, "\r", [&out](std::string_view piece) { out.put(piece); },
        [](char, char next) { return lineEnd(next); });
}

std::uint32_t canonicalReference(std::string_view text) noexcept {
    for (const std::string_view form : {"&amp;", "&lt;", "&gt;", "&#xD;"}) {
        if (text.starts_with(form)) {
            return static_cast<std::uint32_t>(form.size());
        }
    }
    return 0;
}

} // namespace vantrel::xml
