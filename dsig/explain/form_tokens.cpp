#include "dsig/explain/form_tokens.h"

#include <algorithm>

namespace vantrel::dsig::explain {

namespace {

// Offset behind the markup that begins at `start`; the end of the text where it is not closed.
// Nothing is an error here: a form that was cut in the middle of a comment is still a form.
std::size_t behind(std::string_view form, std::size_t start, std::string_view end) {
    const std::size_t at = form.find(end, start);
    return at == std::string_view::npos ? form.size() : at + end.size();
}

// A '>' may stand in an attribute value. Canonical forms escape it no more than documents do
// (Canonical XML 1.0, 2.3).
std::size_t behindTag(std::string_view form, std::size_t start) {
    // The quote that a value began with; 0 outside of values.
    char quote = 0;
    for (std::size_t at = start; at < form.size(); ++at) {
        const char c = form[at];
        if (quote != 0) {
            quote = c == quote ? 0 : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return at + 1;
        }
    }
    return form.size();
}

// The markup that begins with the '<' at `start`. What is not closed reaches to the end.
Token markupAt(std::string_view form, std::size_t start) {
    const std::string_view rest = form.substr(start);
    TokenKind kind = TokenKind::Other;
    std::size_t end = form.size();
    if (rest.starts_with("<!--")) {
        end = behind(form, start + 4, "-->");
    } else if (rest.starts_with("<?")) {
        end = behind(form, start, "?>");
    } else if (rest.starts_with("<![CDATA[")) {
        end = behind(form, start, "]]>");
    } else {
        end = behindTag(form, start);
        const std::string_view tag = form.substr(start, end - start);
        kind = rest.starts_with("<!")   ? TokenKind::Other
               : rest.starts_with("</") ? TokenKind::EndTag
               : tag.ends_with("/>")    ? TokenKind::EmptyTag
                                        : TokenKind::StartTag;
    }
    return {kind, form.substr(start, end - start)};
}

} // namespace

// In octets: a no-break space is a letter here, as it is to XML.
bool isBlank(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), isSpace);
}

std::string_view trimmed(std::string_view text) noexcept {
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// Every octet goes into a piece, and every piece has one octet at least: the walk ends, and what is
// joined again is the form.
std::vector<Token> formTokens(std::string_view form) {
    std::vector<Token> tokens;
    for (std::size_t at = 0; at < form.size();) {
        Token token{TokenKind::Text, {}};
        if (form[at] == '<') {
            token = markupAt(form, at);
        } else {
            token.text = form.substr(at, std::min(form.find('<', at), form.size()) - at);
        }
        at += token.text.size();
        tokens.push_back(token);
    }
    return tokens;
}

bool isAllOfElement(std::span<const Token> tokens, std::size_t index) noexcept {
    return index > 0 && index + 1 < tokens.size() &&
           tokens[index - 1].kind == TokenKind::StartTag &&
           tokens[index + 1].kind == TokenKind::EndTag;
}

// No prefix is taken off: evidence shows names as they are written. The reader searches for this
// name in an editor.
std::string_view tagName(std::string_view tag) noexcept {
    tag.remove_prefix(tag.starts_with("</") ? 2 : 1);
    const std::size_t end = tag.find_first_of(" \t\r\n/>");
    return tag.substr(0, end);
}

std::string pathAt(std::string_view form, std::size_t offset) {
    // One pass from the beginning: paths are asked for once, when something was found.
    std::vector<std::string_view> names;
    std::size_t at = 0;
    for (const Token& token : formTokens(form)) {
        if (at > offset) {
            break;
        }
        at += token.text.size();
        if (token.kind == TokenKind::StartTag) {
            names.push_back(tagName(token.text));
        } else if (token.kind == TokenKind::EndTag && !names.empty() && at <= offset) {
            // An end tag that contains the offset still belongs to its element.
            names.pop_back();
        }
    }
    // The way is shown from its end: a hostile document may be very deep.
    constexpr std::size_t kMostSteps = 12;
    std::string path = names.size() > kMostSteps ? "/..." : "";
    for (std::size_t i = names.size() - std::min(names.size(), kMostSteps); i < names.size(); ++i) {
        path += "/";
        path += names[i].substr(0, 80);
    }
    return path;
}

} // namespace vantrel::dsig::explain
