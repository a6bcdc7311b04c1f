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

void replaceAll(std::string_view text, std::string_view from, std::string_view to, Change& change) {
    change.octets.clear();
    change.places = 0;
    std::size_t copied = 0;
    for (std::size_t at = text.find(from); at != std::string_view::npos;
         at = text.find(from, copied)) {
        change.first = change.places == 0 ? at : change.first;
        ++change.places;
        change.octets.append(text, copied, at - copied);
        change.octets.append(to);
        copied = at + from.size();
    }
    change.octets.append(text, copied);
}

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
