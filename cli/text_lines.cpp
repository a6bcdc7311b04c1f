// SPDX-License-Identifier: MIT
#include "cli/text_lines.h"

#include <algorithm>
#include <vector>

namespace vantrel::cli {

namespace {

// An entry is a label in a column of its own and text behind it; what does not fit goes on below.
constexpr std::size_t kIndent = 4;
constexpr std::size_t kLabelColumns = 10;
constexpr std::size_t kTextWidth = kTextColumns - kIndent - kLabelColumns;
// A hostile Id may have megabytes; what is cut stands in the JSON.
constexpr std::size_t kMostLinesOfAWord = 4;

// Octets of the unit that begins at `at`: an escape sequence, which takes no room, or a character.
std::size_t unitLength(std::string_view text, std::size_t at, std::size_t& columns) {
    if (text[at] == '\033') {
        // Colours end in this letter (ECMA-48, SGR); the tool writes no other sequences.
        columns = 0;
        const std::size_t end = text.find('m', at);
        return end == std::string_view::npos ? text.size() - at : end + 1 - at;
    }
    columns = 1;
    std::size_t length = 1;
    if (static_cast<unsigned char>(text[at]) < 0x80) {
        return length;
    }
    // The other octets of a UTF-8 character.
    while (at + length < text.size() &&
           (static_cast<unsigned char>(text[at + length]) & 0xC0) == 0x80) {
        ++length;
    }
    return length;
}

// The longest front of the text that has no more than so many columns.
std::string_view front(std::string_view text, std::size_t columns) {
    std::size_t at = 0;
    std::size_t sum = 0;
    // By characters, so that none is cut in two.
    while (at < text.size()) {
        std::size_t one = 0;
        const std::size_t length = unitLength(text, at, one);
        if (sum + one > columns) {
            break;
        }
        at += length;
        sum += one;
    }
    return text.substr(0, at);
}

// The text without its first columns, whose escape sequences go with them.
std::string_view behind(std::string_view text, std::size_t columns) {
    return text.substr(front(text, columns).size());
}

// Paths of elements, distinguished names and digests have no blanks and are longer than a line.
// A word longer than a line, piece by piece; a path is broken in front of a slash.
void breakWord(std::string_view word, std::vector<std::string>& lines) {
    const std::string whole = shortened(word, kMostLinesOfAWord * kTextWidth);
    std::string_view rest = whole;
    while (columnsOf(rest) > kTextWidth) {
        std::string_view piece = front(rest, kTextWidth);
        const std::size_t slash = piece.rfind('/');
        // Further in front it would leave a line that is mostly empty.
        if (slash != std::string_view::npos && slash > piece.size() / 2) {
            piece = piece.substr(0, slash);
        }
        lines.emplace_back(piece);
        rest.remove_prefix(piece.size());
    }
    lines.emplace_back(rest);
}

// The text in lines that fit behind the label, broken at blanks where it has any.
std::vector<std::string> wrapped(std::string_view text) {
    // What fits as it stands needs no look at its words; blanks at its ends go.
    if (!text.starts_with(' ') && !text.ends_with(' ') && columnsOf(text) <= kTextWidth) {
        return {std::string(text)};
    }
    std::vector<std::string> lines(1);
    while (!text.empty()) {
        const std::size_t space = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, space);
        text.remove_prefix(std::min(space + 1, text.size()));
        std::string& last = lines.back();
        const std::size_t room = columnsOf(last) + (last.empty() ? 0 : 1) + columnsOf(word);
        if (room <= kTextWidth) {
            last += last.empty() ? "" : " ";
            last += word;
            continue;
        }
        // breakWord begins a line of its own.
        if (last.empty()) {
            lines.pop_back();
        }
        breakWord(word, lines);
    }
    return lines;
}

} // namespace

// One column a character: wide ones and combining marks are counted alike, which breaks a line of
// them a little early or late and does no harm.
std::size_t columnsOf(std::string_view text) {
    std::size_t sum = 0;
    std::size_t columns = 0;
    for (std::size_t at = 0; at < text.size();
         at += unitLength(text, at, columns), sum += columns) {}
    return sum;
}

std::string shortened(std::string_view text, std::size_t columns) {
    constexpr std::string_view kGap = "...";
    const std::size_t size = columnsOf(text);
    if (size <= columns || columns <= kGap.size()) {
        return std::string(text);
    }
    const std::size_t kept = columns - kGap.size();
    // More of the end is kept: in paths, names and URIs it says which of many similar ones it is.
    const std::size_t head = kept / 3;
    std::string out(front(text, head));
    out += kGap;
    return out += behind(text, size - (kept - head));
}

std::string entry(std::string_view label, std::string_view text) {
    std::string out;
    for (const std::string& line : wrapped(text)) {
        std::string start(kIndent, ' ');
        if (out.empty()) {
            start += label;
        }
        // A label that fills its column keeps one blank behind it.
        start.resize(std::max(start.size() + (out.empty() ? 1 : 0), kIndent + kLabelColumns), ' ');
        out += start + line + "\n";
    }
    return out;
}

} // namespace vantrel::cli
