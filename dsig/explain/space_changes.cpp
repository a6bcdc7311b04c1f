// White space between tags and in texts, but for that of whole lines (indentation_changes.cpp).

#include "dsig/explain/codes.h"
#include "dsig/explain/form_tokens.h"
#include "dsig/explain/text_changes.h"

#include <algorithm>

namespace vantrel::dsig::explain {

namespace {

// A text with its neighbours.
struct TextPlace {
    std::string_view text;
    bool isBlank;
    bool isLeaf; // between a start tag and its own end tag
};

// What becomes of a text.
using TextRule = std::string (*)(const TextPlace& place);

bool looksBase64(std::string_view text) {
    constexpr std::size_t kShortest = 40; // of a digest or longer; words are no base64
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/= \n\t\r";
    return text.size() >= kShortest && text.find_first_not_of(kDigits) == std::string_view::npos;
}

// The helpers of the rules below; each returns the text as it would have been.
std::string withoutSpace(std::string_view text) {
    std::string out(text);
    std::erase_if(out, isSpace);
    return out;
}

// XML Schema 1.0, 4.3.6, "collapse", but for the ends.
std::string collapsed(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (!isSpace(c)) {
            out += c;
        } else if (out.empty() || out.back() != ' ') {
            out += ' ';
        }
    }
    return out;
}

// RFC 2045, 6.8 and RFC 7468: base64 in lines of a fixed length.
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
constexpr SpaceRule kRules[] = {
    {"white space stands between tags that was not there when it was signed",
     [](const TextPlace& p) { return p.isBlank && !p.isLeaf ? "" : std::string(p.text); }},
    {"white space stands between tags and in empty elements that was not there",
     [](const TextPlace& p) { return p.isBlank ? "" : std::string(p.text); }},
    {"texts were signed without the white space around them",
     [](const TextPlace& p) {
         return p.isBlank ? std::string(p.text) : std::string(trimmed(p.text));
     }},
    {"texts were signed without the white space around them, and without any between tags",
     [](const TextPlace& p) { return std::string(trimmed(p.text)); }},
    {"runs of white space in texts were signed as one blank",
     [](const TextPlace& p) { return p.isBlank ? std::string(p.text) : collapsed(p.text); }},
    {"texts were signed with their white space normalised (trimmed, runs as one blank)",
     [](const TextPlace& p) {
         return p.isBlank ? std::string(p.text) : std::string(trimmed(collapsed(p.text)));
     }},
    {"white space was normalised in texts and gone between tags when it was signed",
     [](const TextPlace& p) { return std::string(trimmed(collapsed(p.text))); }},
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

// Counts the texts that a rule changes.
void applyRule(const std::vector<Token>& tokens, TextRule rule, Change& change) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const std::string_view text = tokens[i].text;
        if (tokens[i].kind == TokenKind::Text) {
            const bool leaf = i > 0 && i + 1 < tokens.size() &&
                              tokens[i - 1].kind == TokenKind::StartTag &&
                              tokens[i + 1].kind == TokenKind::EndTag;
            const std::string becomes = rule({text, isBlank(text), leaf});
            if (becomes != text) {
                change.first = change.places == 0 ? at : change.first;
                ++change.places;
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

// Characters that editors and mail programs exchange for blanks.
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
    for (const SpaceRule& rule : kRules) {
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
