// SPDX-License-Identifier: MIT
#include "dsig/explain/change.h"

#include "foundation/text/utf8.h"

#include <algorithm>

namespace vantrel::dsig::explain {

namespace {

// Evidence is read by people, on a line or two of a terminal.
constexpr std::size_t kLongestQuote = 60;

// Octets of other character sets and controls: they must not reach a terminal as they are.
void appendEscaped(unsigned char octet, std::string& out) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    out += "\\x";
    out += kDigits[octet >> 4];
    out += kDigits[octet & 15];
}

} // namespace

std::string counted(std::size_t count, std::string_view thing) {
    std::string text = std::to_string(count) + " ";
    text += thing;
    text += count == 1 ? "" : "s";
    return text;
}

// Counted here and not when the change is made: of thousands of changes one is shown.
std::string withPlaces(const Change& change, std::string_view before) {
    if (change.places == 0) {
        return change.evidence;
    }
    // Lines are counted from 1, as editors do.
    const std::string_view ahead = before.substr(0, std::min(change.first, before.size()));
    const auto line = 1 + std::count(ahead.begin(), ahead.end(), '\n');
    return change.evidence + ": " + counted(change.places, "place") + ", the first at line " +
           std::to_string(line) + " of what is digested";
}

void notePlace(std::size_t at, Change& change) noexcept {
    change.first = change.places == 0 ? at : change.first;
    ++change.places;
}

// From left to right, and what was put in is not looked at again.
void replaceAll(std::string_view text, std::string_view from, std::string_view to, Change& change) {
    change.octets.clear();
    change.places = 0;
    std::size_t copied = 0;
    // Nothing found leaves a copy of the text and no place; families do not offer those.
    for (std::size_t at = text.find(from); at != std::string_view::npos;
         at = text.find(from, copied)) {
        notePlace(at, change);
        change.octets.append(text, copied, at - copied);
        change.octets.append(to);
        copied = at + from.size();
    }
    change.octets.append(text, copied);
}

// Two kinds of attack end here: escape sequences that rewrite the reader's terminal, and texts so
// long that they push the evidence off the screen.
std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (std::size_t at = 0; at < text.size();) {
        // Cut between two characters, never inside of one.
        if (out.size() > kLongestQuote) {
            return out + "...\"";
        }
        char32_t character = 0;
        const std::size_t length = text::decodeUtf8(text.substr(at), character);
        const auto octet = static_cast<unsigned char>(text[at]);
        if (octet == '\n') {
            out += "\\n";
        } else if (length == 0 || character < 0x20 || (character >= 0x7F && character < 0xA0)) {
            appendEscaped(octet, out);
        } else {
            out.append(text, at, length);
        }
        at += std::max<std::size_t>(length, 1);
    }
    return out + "\"";
}

} // namespace vantrel::dsig::explain
