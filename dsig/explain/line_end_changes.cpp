// SPDX-License-Identifier: MIT
#include "dsig/explain/codes.h"
#include "dsig/explain/form_tokens.h"
#include "dsig/explain/text_changes.h"
#include "foundation/text/strings.h"

namespace vantrel::dsig::explain {

namespace {

// Canonical XML 1.0, 2.3 writes a carriage return of the content as &#xD;. A signer whose tree was
// not made by a parser has such, and so has one who digests text that no parser ever read. XML 1.0,
// 2.11 lets every parser turn CR LF into LF before anybody sees it, so that files from two systems
// give one digest.
struct LineEndRule {
    std::string_view from;
    std::string_view to;
    bool textsOnly; // not in the white space between tags
    std::string_view evidence;
};

// Ways between LF, CR LF, CR and the reference, the commonest first. `from` is what stands here and
// `to` what was signed; the order is that of the reports that users send.
constexpr LineEndRule kLineEndRules[] = {
    {"\n", "\r\n", false, "line ends became LF; they were CR LF when it was signed"},
    {"\n", "&#xD;\n", false, "line ends became LF; they were &#xD; LF when it was signed"},
    {"&#xD;\n", "\n", false, "line ends became &#xD; LF; they were LF when it was signed"},
    {"&#xD;", "", false, "carriage returns (&#xD;) stand here that were not there"},
    {"&#xD;", "\r", false, "carriage returns were digested as such, not as &#xD;"},
    {"&#xD;\n", "\r\n", false, "line ends were digested as CR LF, not as &#xD; LF"},
    {"\r\n", "\n", false, "line ends became CR LF; they were LF when it was signed"},
    {"\n", "\r", false, "line ends became LF; they were CR when it was signed"},
    {"\r", "\n", false, "line ends became CR; they were LF when it was signed"},
    {"\n", "&#xD;\n", true,
     "line ends inside texts became LF; they were &#xD; LF when it was signed"},
    {"\n", "\r\n", true, "line ends inside texts became LF; they were CR LF when it was signed"},
    {"\n", "&#xD;", true, "line ends inside texts became LF; they were &#xD; when it was signed"},
    {"\n", "", true, "line ends stand inside texts that were not there"},
    {"&#xA;", " ", false, "line ends in attribute values were digested as blanks"},
};

// Base64 in lines, say: its line ends come from an encoder, those between tags from a printer. A
// rule for all line ends cannot mend such a text, since only some of them are others.
void replaceInTexts(std::string_view form, const LineEndRule& rule, Change& change) {
    // Texts between tags that hold nothing but white space are layout and stay.
    std::string out;
    std::size_t at = 0;
    std::size_t places = 0;
    std::size_t first = 0;
    for (const Token& token : formTokens(form)) {
        if (token.kind == TokenKind::Text && !text::isBlank(token.text)) {
            Change inside;
            replaceAll(token.text, rule.from, rule.to, inside);
            first = places == 0 ? at + inside.first : first;
            places += inside.places;
            out += inside.octets;
        } else {
            out += token.text;
        }
        at += token.text.size();
    }
    change.octets = std::move(out);
    change.places = places;
    change.first = first;
}

} // namespace

bool lineEndChanges(std::string_view form, const ChangeVisit& visit) {
    for (const LineEndRule& rule : kLineEndRules) {
        Change change{cause::kLineEnds, std::string(rule.evidence), {}};
        // Spares the walk over the tags. Most documents have none of these characters at all.
        if (form.find(rule.from) == std::string_view::npos) {
            continue;
        }
        if (rule.textsOnly) {
            replaceInTexts(form, rule, change);
        } else {
            replaceAll(form, rule.from, rule.to, change);
        }
        if (change.places > 0 && visit(change)) {
            return true;
        }
    }
    return false;
}

} // namespace vantrel::dsig::explain
