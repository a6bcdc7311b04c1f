// SPDX-License-Identifier: MIT
#include "dsig/explain/codes.h"
#include "dsig/explain/form_tokens.h"
#include "dsig/explain/text_changes.h"
#include "foundation/text/strings.h"

#include <array>

namespace vantrel::dsig::explain {

namespace {

// What editors strip at the ends of lines. "Strip trailing white space on save" is a default of
// many editors, and no editor knows what is signed.
bool isBlankOrTab(char c) { return c == ' ' || c == '\t'; }

// Lines without the blanks and tabs at their ends.
Change trimmedLines(std::string_view form) {
    Change change{cause::kTrailingWhitespace,
                  "lines end in blanks that were not there when it was signed",
                  {}};
    // In one pass: blanks are written, and taken back when a line end follows.
    std::size_t blanksFrom = 0; // behind what has been written and is no blank
    for (std::size_t at = 0; at < form.size(); ++at) {
        if (form[at] == '\n' && blanksFrom < at) {
            change.octets.resize(change.octets.size() - (at - blanksFrom));
            notePlace(blanksFrom, change);
        }
        change.octets += form[at];
        if (!isBlankOrTab(form[at])) {
            blanksFrom = at + 1;
        }
    }
    return change;
}

// Texts of elements without the white space before the end tag. Templates of forms leave a blank or
// a line end behind a value.
Change trimmedTexts(std::string_view form) {
    Change change{cause::kTrailingWhitespace,
                  "texts end in white space that was not there when it was signed",
                  {}};
    const std::vector<Token> tokens = formTokens(form);
    std::size_t at = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        std::string_view text = tokens[i].text;
        at += text.size();
        if (tokens[i].kind == TokenKind::Text && !text::isBlank(text) && i + 1 < tokens.size() &&
            tokens[i + 1].kind == TokenKind::EndTag && text::isSpaceAscii(text.back())) {
            while (text::isSpaceAscii(text.back())) {
                text.remove_suffix(1);
            }
            notePlace(at, change);
        }
        change.octets += text;
    }
    return change;
}

// What a program may have written behind the last tag, and digested with the rest. Programs that
// write with a "print line" function, or into a buffer whose length they take wrong by one.
struct Ending {
    std::string_view text;
    std::string_view evidence;
};
// The NUL is that of a string in C, counted along.
constexpr Ending kEndings[] = {
    {"\n", "a line end stood behind the last tag when it was signed"},
    {"\r\n", "CR LF stood behind the last tag when it was signed"},
    {"&#xD;\n", "&#xD; LF stood behind the last tag when it was signed"},
    {" ", "a blank stood behind the last tag when it was signed"},
    {"\n\n", "two line ends stood behind the last tag when it was signed"},
    {std::string_view("\0", 1), "a NUL stood behind the last tag when it was signed"},
};

} // namespace

// Canonical XML 1.0, 2.1 has nothing behind the document element but comments and instructions. So
// a line end behind the last tag is never part of a canonical form, though it is part of nearly
// every file.
bool endChanges(std::string_view form, const ChangeVisit& visit) {
    // Both directions: something too many at the end, and something too few.
    std::size_t size = form.size();
    while (size > 0 && text::isSpaceAscii(form[size - 1])) {
        --size;
    }
    if (size < form.size()) {
        const Change change{cause::kTrailingWhitespace,
                            "white space at the end was not digested when it was signed",
                            std::string(form.substr(0, size))};
        if (visit(change)) {
            return true;
        }
    }
    for (const Ending& ending : kEndings) {
        const Change change{cause::kTrailingWhitespace, std::string(ending.evidence),
                            std::string(form).append(ending.text)};
        if (visit(change)) {
            return true;
        }
    }
    return false;
}

namespace {

// Runs that may have stood there, the shortest first. Tabs and blanks in a mixture are too rare for
// the cost.
constexpr std::array<std::string_view, 7> kLostSpace = {" ",    "  ",   "\t",   "   ",
                                                        "    ", "\t\t", "     "};

// Places where white space may have been stripped: ends of lines, and of texts before an end tag.
// An end tag behind another tag has no text before it.
std::vector<std::size_t> strippedPlaces(std::string_view form) {
    // Ascending; a line end between tags counts, since editors strip all lines alike.
    std::vector<std::size_t> places;
    for (std::size_t at = 1; at < form.size(); ++at) {
        const bool lineEnd = form[at] == '\n';
        const bool textEnd = form[at] == '<' && at + 1 < form.size() && form[at + 1] == '/' &&
                             form[at - 1] != '>' && !text::isSpaceAscii(form[at - 1]);
        if (lineEnd || textEnd) {
            places.push_back(at);
        }
    }
    return places;
}

} // namespace

bool trailingSpaceChanges(std::string_view form, const ChangeVisit& visit) {
    for (Change (*const make)(std::string_view) : {trimmedLines, trimmedTexts}) {
        const Change change = make(form);
        if (change.places > 0 && visit(change)) {
            return true;
        }
    }
    return false;
}

// At one place only: with several the combinations are too many. Whoever strips, strips all lines,
// but a document mostly has one such line.
bool restoredTrailingSpace(std::string_view form, const ChangeVisit& visit) {
    for (const std::size_t place : strippedPlaces(form)) {
        for (const std::string_view lost : kLostSpace) {
            Change change{cause::kTrailingWhitespace,
                          counted(lost.size(), lost.front() == '\t' ? "tab" : "blank") +
                              " stood at the end of a line or text when it was signed",
                          std::string(form)};
            change.octets.insert(place, lost);
            change.places = 1;
            change.first = place;
            if (visit(change)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace vantrel::dsig::explain
