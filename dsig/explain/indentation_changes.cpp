// SPDX-License-Identifier: MIT
// Lines and their indentation: added or taken away by whoever prints a document for people.
// "Pretty-printing" a signed document is the most frequent way to break its signature: XML tools
// offer it, gateways log with it, and it looks harmless.

#include "dsig/explain/codes.h"
#include "dsig/explain/form_tokens.h"
#include "dsig/explain/text_changes.h"
#include "foundation/text/strings.h"

#include <algorithm>

namespace vantrel::dsig::explain {

namespace {

// White space between tags that holds a line end.
bool breaksLine(const Token& token) {
    return token.kind == TokenKind::Text && text::isBlank(token.text) &&
           token.text.find('\n') != std::string_view::npos;
}

// The pieces without lines between tags. White space that is all there is in an element stays: it
// is content. Whether white space in an element without anything else is content nobody can know;
// printers leave it alone.
std::vector<Token> withoutLines(const std::vector<Token>& tokens, Change& change) {
    // Views into the form, which must outlive them.
    std::vector<Token> kept;
    std::size_t at = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const bool leaf = isAllOfElement(tokens, i);
        if (breaksLine(tokens[i]) && !leaf) {
            notePlace(at, change);
        } else {
            kept.push_back(tokens[i]);
        }
        at += tokens[i].text.size();
    }
    return kept;
}

// The pieces as a text again.
std::string joined(const std::vector<Token>& tokens) {
    std::string out;
    for (const Token& token : tokens) {
        out += token.text;
    }
    return out;
}

// For each start tag, by its place: whether its element has text of its own, which a printer leaves
// alone. Mixed content would be changed by a line end inside of it, and printers know that.
std::vector<bool> mixedElements(const std::vector<Token>& tokens) {
    std::vector<bool> mixed(tokens.size(), false);
    // By a stack of places: depth is the document's to choose, recursion would be its to exhaust.
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        switch (tokens[i].kind) {
        case TokenKind::StartTag: open.push_back(i); break;
        case TokenKind::EndTag:
            if (!open.empty()) {
                open.pop_back();
            }
            break;
        case TokenKind::Text:
            if (!open.empty()) {
                mixed[open.back()] = true;
            }
            break;
        default: break;
        }
    }
    return mixed;
}

// Printed anew from pieces without lines: each tag on a line of its own, but for those of an
// element with text. No places where that would be much longer than the pieces: of elements in
// elements in elements each line is longer than the one before. The loop has no recursion and keeps
// its own stack, as everywhere where depth is the document's.
std::string indented(const std::vector<Token>& tokens, std::size_t size, std::string_view unit,
                     std::size_t base, std::size_t& places) {
    const std::size_t most = 16 * size + 4096;
    const std::vector<bool> mixed = mixedElements(tokens);
    std::vector<std::size_t> open; // start tags, by their places
    std::string out;
    // Below one of these no line is broken any more, however deep.
    std::size_t inMixed = 0; // number of those that have text
    const auto newLine = [&](std::size_t depth) {
        out += '\n';
        for (std::size_t i = 0; i < depth + base; ++i) {
            out += unit;
        }
        ++places;
    };
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const TokenKind kind = tokens[i].kind;
        if (out.size() > most) {
            places = 0;
            return {};
        }
        if (kind == TokenKind::EndTag && !open.empty()) {
            const std::size_t start = open.back();
            open.pop_back();
            // An element with nothing in it stays on its line.
            inMixed -= mixed[start] ? 1 : 0;
            if (inMixed == 0 && !mixed[start] && i > start + 1) {
                newLine(open.size());
            }
        } else if (kind != TokenKind::Text && !open.empty() && inMixed == 0) {
            newLine(open.size());
        }
        out += tokens[i].text;
        if (kind == TokenKind::StartTag) {
            open.push_back(i);
            inMixed += mixed[i] ? 1 : 0;
        }
    }
    return out;
}

// What printers indent by, the commonest first. The names are those of the evidence.
struct Unit {
    std::string_view text;
    std::string_view name;
};
constexpr Unit kUnits[] = {
    {"  ", "two blanks"},        {"    ", "four blanks"}, {"\t", "a tab"},
    {" ", "one blank"},          {"", "nothing"},         {"   ", "three blanks"},
    {"        ", "eight blanks"}};
// An element that was printed with its document stands at the depth that it had there. Depths
// beyond are those of envelopes in envelopes, and six is generous.
constexpr std::size_t kMostBaseDepth = 6;

// Prints the pieces in every unit, from every depth.
bool printedAnew(const std::vector<Token>& tokens, std::size_t size, bool hadLines,
                 const ChangeVisit& visit) {
    for (std::size_t base = 0; base <= kMostBaseDepth; ++base) {
        for (const Unit& unit : kUnits) {
            Change change{cause::kIndentation, {}, {}};
            change.octets = indented(tokens, size, unit.text, base, change.places);
            change.evidence = hadLines
                                  ? "the lines between tags were others when it was signed; they "
                                    "were indented by "
                                  : "the lines between tags are gone; they were indented by ";
            change.evidence += unit.name;
            // An element that was cut out of a printed document keeps its inner lines and their
            // depth.
            change.evidence += base > 0 ? ", from depth " + std::to_string(base) : "";
            if (change.places == 0) {
                return false; // nothing to print on lines
            }
            // Without a unit every depth looks alike.
            if ((base == 0 || !unit.text.empty()) && visit(change)) {
                return true;
            }
        }
    }
    return false;
}

// Every line's white space at its beginning, in texts between tags. Some programs strip every line
// when they read a file.
bool linesFlushLeft(std::string_view form, const ChangeVisit& visit) {
    Change change{
        cause::kIndentation, "lines were signed without the blanks at their beginning", {}};
    bool atStart = false;
    for (std::size_t at = 0; at < form.size(); ++at) {
        const char c = form[at];
        if (atStart && (c == ' ' || c == '\t')) {
            change.first = change.places == 0 ? at : change.first;
            change.places += form[at - 1] == '\n' ? 1 : 0;
            continue;
        }
        atStart = c == '\n';
        change.octets += c;
    }
    return change.places > 0 && visit(change);
}

} // namespace

// The cheapest explanation first: lines were added, and are taken away.
bool indentationChanges(std::string_view form, const ChangeVisit& visit) {
    const std::vector<Token> tokens = formTokens(form);
    Change flat{
        cause::kIndentation, "lines and blanks were put between tags after it was signed", {}};
    const std::vector<Token> kept = withoutLines(tokens, flat);
    flat.octets = joined(kept);
    const bool hadLines = flat.places > 0;
    return (hadLines && visit(flat)) || linesFlushLeft(form, visit) ||
           printedAnew(kept, form.size(), hadLines, visit);
}

} // namespace vantrel::dsig::explain
