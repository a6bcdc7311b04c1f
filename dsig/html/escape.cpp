// SPDX-License-Identifier: MIT
#include "dsig/html/escape.h"

#include "foundation/text/utf8.h"

#include <array>
#include <cstdint>

namespace vantrel::dsig::html {

namespace {

struct CharacterRange {
    char32_t first;
    char32_t last;
};

// Controls but tab and line feed; what Unicode calls default-ignorable or gives a direction; line
// and paragraph separators; the tag characters, in which a whole hidden text can be written. The
// list is of ranges, a few octets wide each, where a full Unicode table would be far larger and
// change every year; a character missing here is shown as the browser shows it.
constexpr std::array<CharacterRange, 18> kUnseen = {{{0x00, 0x08},
                                                     {0x0B, 0x1F},
                                                     {0x7F, 0x9F},
                                                     {0xAD, 0xAD},
                                                     {0x34F, 0x34F},
                                                     {0x61C, 0x61C},
                                                     {0x115F, 0x1160},
                                                     {0x17B4, 0x17B5},
                                                     {0x180B, 0x180F},
                                                     {0x200B, 0x200F},
                                                     {0x2028, 0x202E},
                                                     {0x2060, 0x206F},
                                                     {0x3164, 0x3164},
                                                     {0xFEFF, 0xFEFF},
                                                     {0xFFA0, 0xFFA0},
                                                     {0xFFF0, 0xFFFB},
                                                     {0x1D173, 0x1D17A},
                                                     {0xE0000, 0xE0FFF}}};

// A walk, since it costs little beside a page that is bounded in size.
bool isUnseen(char32_t character) noexcept {
    for (const CharacterRange range : kUnseen) {
        if (character >= range.first && character <= range.last) {
            return true;
        }
    }
    return false;
}

// Quotes as well, though no attribute is made of such text: an escaped text stays harmless wherever
// it is moved to. Empty for a character that needs none.
std::string_view referenceFor(char32_t character) noexcept {
    switch (character) {
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '&': return "&amp;";
    case '"': return "&quot;";
    case '\'': return "&#39;";
    default: return {};
    }
}

void appendHex(std::uint32_t number, int digits, std::string& out) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) {
        out += kDigits[(number >> static_cast<unsigned>(shift)) & 0xFU];
    }
}

// The box tells its number, so that two characters that look alike can be told apart.
void appendNumber(char32_t character, std::string& out) {
    out += "<b class=\"x\">U+";
    appendHex(character, character > 0xFFFF ? 5 : 4, out);
    out += "</b>";
}

// Calls seen(view of a character or of its reference) and unseen(character, length) in turn; a byte
// that begins no character comes as one of length 0. Both ways of escaping go through here, so that
// neither can forget a kind of character.
template <class Seen, class Unseen>
void forEachCharacter(std::string_view text, const Seen& seen, const Unseen& unseen) {
    while (!text.empty()) {
        // A malformed sequence is shown octet by octet: nothing of a document is swallowed.
        char32_t character = 0;
        const std::size_t length = text::decodeUtf8(text, character);
        if (length == 0) {
            unseen(static_cast<unsigned char>(text[0]), 0);
        } else if (isUnseen(character)) {
            unseen(character, length);
        } else {
            const std::string_view reference = referenceFor(character);
            seen(reference.empty() ? text.substr(0, length) : reference);
        }
        // At least one octet, so that the walk ends.
        text.remove_prefix(length == 0 ? 1 : length);
    }
}

} // namespace

void appendText(std::string_view text, std::string& out) {
    forEachCharacter(
        text, [&](std::string_view piece) { out += piece; },
        [&](char32_t character, std::size_t length) {
            if (length > 0) {
                appendNumber(character, out);
                return;
            }
            // Two digits tell an octet from a character's number.
            out += "<b class=\"x\">";
            appendHex(character, 2, out);
            out += "</b>";
        });
}

void appendPlain(std::string_view text, std::string& out) {
    forEachCharacter(
        text, [&](std::string_view piece) { out += piece; },
        [&](char32_t /*character*/, std::size_t /*length*/) { out += '?'; });
}

// Three quarters of what is shown are the front, since texts are told apart there.
void appendShortened(std::string_view text, std::size_t most, std::string& out) {
    if (text.size() <= most) {
        appendText(text, out);
        return;
    }
    const std::size_t front = characterStart(text, most - most / 4);
    const std::size_t back = characterStart(text, text.size() - most / 4);
    appendText(text.substr(0, front), out);
    out += "<b class=\"o\">&hellip; " + counted(back - front, "octet", "octets") +
           " left out &hellip;</b>";
    appendText(text.substr(back), out);
}

// Groups of three, from the right.
std::string withGroups(std::size_t number) {
    const std::string digits = std::to_string(number);
    std::string out;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        out += i > 0 && (digits.size() - i) % 3 == 0 ? "&nbsp;" : "";
        out += digits[i];
    }
    return out;
}

std::string counted(std::size_t number, std::string_view one, std::string_view many) {
    return withGroups(number) + " " + std::string(number == 1 ? one : many);
}

// Octets 10xxxxxx continue a character (RFC 3629, 3).
std::size_t characterStart(std::string_view text, std::size_t at) noexcept {
    if (at >= text.size()) {
        return text.size();
    }
    // A character has three continuation bytes at most; more are no UTF-8 and may be cut.
    for (int i = 0; i < 3 && at > 0 && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U;
         ++i) {
        --at;
    }
    return at;
}

} // namespace vantrel::dsig::html
