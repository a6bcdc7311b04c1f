// SPDX-License-Identifier: MIT
// White space between tags and in texts, but for that of whole lines (indentation_changes.cpp).
// They are the work of XML tools that trim, of databases that normalize, and of mail programs that
// wrap.

#include "dsig/explain/codes.h"
#include "dsig/explain/form_tokens.h"
#include "dsig/explain/text_changes.h"
#include "foundation/text/strings.h"

#include <algorithm>

namespace vantrel::dsig::explain {

namespace {

// A text with its neighbours. The neighbours decide whether white space is content or layout.
struct TextPlace {
    std::string_view text;
    bool isBlank;
    bool isLeaf; // between a start tag and its own end tag
};

// What becomes of a text. A plain function, so that the table is constant.
using TextRule = std::string (*)(const TextPlace& place);

// A guess that does no harm: a text that is taken for base64 and is none gives a form that nobody
// signed.
bool looksBase64(std::string_view text) {
    constexpr std::size_t kShortest = 40; // of a digest or longer; words are no base64
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/= \n\t\r";
    return text.size() >= kShortest && text.find_first_not_of(kDigits) == std::string_view::npos;
}

// The helpers of the rules below; each returns the text as it would have been.
std::string withoutSpace(std::string_view text) {
    std::string out(text);
    std::erase_if(out, text::isSpaceAscii);
    return out;
}

// XML Schema 1.0, 4.3.6, "collapse", but for the ends. Facets of schema types do this to values; a
// signer that validates before it digests sees the result.
std::string collapsed(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (!text::isSpaceAscii(c)) {
            out += c;
        } else if (out.empty() || out.back() != ' ') {
            out += ' ';
        }
    }
    return out;
}

// RFC 2045, 6.8 and RFC 7468: base64 in lines of a fixed length. The second length is that of PEM,
// and its encoders end in line ends of their system.
std::string wrapped(const TextPlace& place, std::size_t width, std::string_view end, bool around) {
    if (!looksBase64(place.text)) {
        return std::string(place.text);
    }
    const std::string digits = withoutSpace(place.text);
    std::string out(around ? end : "");
    for (std::size_t at = 0; at < digits.size(); at += width) {
        out += at == 0 ? "" : end;
        out.append(digits, at, width);
    }
    out += around ? end : "";
    return out;
}

struct SpaceRule {
    std::string_view evidence;
    TextRule apply;
};

// Rules that change less come before those that change more: where both fit, less was changed.
// Evidence speaks of what was signed, not of what stands here, unless only that is known.
constexpr SpaceRule kSpaceRules[] = {
    {"white space stands between tags that was not there when it was signed",
     [](const TextPlace& p) { return p.isBlank && !p.isLeaf ? "" : std::string(p.text); }},
    {"white space stands between tags and in empty elements that was not there",
     [](const TextPlace& p) { return p.isBlank ? "" : std::string(p.text); }},
    {"texts were signed without the white space around them",
     [](const TextPlace& p) {
         return p.isBlank ? std::string(p.text) : std::string(text::trimmed(p.text));
     }},
    {"texts were signed without the white space around them, and without any between tags",
     [](const TextPlace& p) { return std::string(text::trimmed(p.text)); }},
    {"runs of white space in texts were signed as one blank",
     [](const TextPlace& p) { return p.isBlank ? std::string(p.text) : collapsed(p.text); }},
    {"texts were signed with their white space normalised (trimmed, runs as one blank)",
     [](const TextPlace& p) {
         return p.isBlank ? std::string(p.text) : std::string(text::trimmed(collapsed(p.text)));
     }},
    {"white space was normalised in texts and gone between tags when it was signed",
     [](const TextPlace& p) { return std::string(text::trimmed(collapsed(p.text))); }},
    {"base64 texts were signed without white space",
     [](const TextPlace& p) {
         return looksBase64(p.text) ? withoutSpace(p.text) : std::string(p.text);
     }},
    {"base64 texts were signed in lines of 76 characters",
     [](const TextPlace& p) { return wrapped(p, 76, "\n", false); }},
    {"base64 texts were signed in lines of 64 characters",
     [](const TextPlace& p) { return wrapped(p, 64, "\n", false); }},
    {"base64 texts were signed in lines of 76 characters with carriage returns",
     [](const TextPlace& p) { return wrapped(p, 76, "&#xD;\n", false); }},
    {"base64 texts were signed in lines of 64 characters with carriage returns",
     [](const TextPlace& p) { return wrapped(p, 64, "&#xD;\n", false); }},
    {"base64 texts were signed in lines of 76 characters, with line ends around",
     [](const TextPlace& p) { return wrapped(p, 76, "\n", true); }},
    {"base64 texts were signed in lines of 64 characters, with line ends around",
     [](const TextPlace& p) { return wrapped(p, 64, "\n", true); }},
};

// Counts the texts that a rule changes. A rule that changes nothing leaves no places, and is not
// offered.
void applyRule(const std::vector<Token>& tokens, TextRule rule, Change& change) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const std::string_view text = tokens[i].text;
        if (tokens[i].kind == TokenKind::Text) {
            const bool leaf = isAllOfElement(tokens, i);
            const std::string becomes = rule({text, text::isBlank(text), leaf});
            // A text that stays as it is counts as no place, so that evidence numbers what was
            // changed.
            if (becomes != text) {
                notePlace(at, change);
            }
            change.octets += becomes;
        } else {
            change.octets += text;
        }
        at += text.size();
    }
}

struct Replacement {
    std::string_view from;
    std::string_view to;
    std::string_view evidence;
};

// Characters that editors and mail programs exchange for blanks. Word processors put no-break
// spaces in, editors expand tabs.
constexpr Replacement kReplacements[] = {
    {"\t", " ", "tabs were digested as blanks"},
    {"\t", "  ", "tabs were two blanks when it was signed"},
    {"\t", "    ", "tabs were four blanks when it was signed"},
    {"\t", "        ", "tabs were eight blanks when it was signed"},
    {"    ", "\t", "four blanks were a tab when it was signed"},
    {"  ", "\t", "two blanks were a tab when it was signed"},
    {"  ", " ", "two blanks were one when it was signed"},
    {"&#x9;", " ", "tabs in attribute values were digested as blanks"},
    {"\xC2\xA0", " ", "no-break spaces were blanks when it was signed"},
    {"\xC2\xA0", "", "no-break spaces stand here that were not there"},
    {"\xEF\xBB\xBF", "", "zero-width no-break spaces stand here that were not there"},
    {"\xE2\x80\x8B", "", "zero-width spaces stand here that were not there"},
};

} // namespace

bool spaceChanges(std::string_view form, const ChangeVisit& visit) {
    const std::vector<Token> tokens = formTokens(form);
    for (const SpaceRule& rule : kSpaceRules) {
        Change change{cause::kWhitespace, std::string(rule.evidence), {}};
        applyRule(tokens, rule.apply, change);
        if (change.places > 0 && visit(change)) {
            return true;
        }
    }
    for (const Replacement& rule : kReplacements) {
        Change change{cause::kWhitespace, std::string(rule.evidence), {}};
        replaceAll(form, rule.from, rule.to, change);
        if (change.places > 0 && visit(change)) {
            return true;
        }
    }
    return false;
}

} // namespace vantrel::dsig::explain
