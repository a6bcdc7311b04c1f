// SPDX-License-Identifier: MIT
// Markup as serializers write it that do not canonicalize (Canonical XML 1.0, 2.3), and the content
// of an element in place of the element. A signer that digests what its serializer writes gets the
// right digest for simple documents and a wrong one as soon as there is an empty element, a quote
// or a comment.

#include "dsig/explain/codes.h"
#include "dsig/explain/form_tokens.h"
#include "dsig/explain/text_changes.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/encoders.h"
#include "foundation/text/strings.h"
#include "foundation/text/utf8.h"
#include "foundation/xml/scan/references.h"

namespace vantrel::dsig::explain {

namespace {

// Characters that may be written as such or as a reference; the standard chooses one of the two.
// Canonical XML 1.0, 2.3 fixes which: in texts & < > and carriage returns, in values & < " and the
// white space but blanks.
struct EscapeRule {
    std::string_view code;
    std::string_view from;
    std::string_view to;
    TokenKind where; // Text or StartTag: inside attribute values
    std::string_view evidence;
};

constexpr EscapeRule kEscapes[] = {
    {cause::kEntities, "\"", "&quot;", TokenKind::Text, "quotes in texts were digested as &quot;"},
    {cause::kEntities, "'", "&apos;", TokenKind::Text,
     "apostrophes in texts were digested as &apos;"},
    {cause::kEntities, "'", "&#39;", TokenKind::Text,
     "apostrophes in texts were digested as &#39;"},
    {cause::kEntities, "\"", "&#34;", TokenKind::Text, "quotes in texts were digested as &#34;"},
    {cause::kEntities, "&gt;", ">", TokenKind::Text, "&gt; in texts was digested as >"},
    {cause::kEntities, ">", "&gt;", TokenKind::StartTag,
     "> in attribute values was digested as &gt;"},
    {cause::kEntities, "'", "&apos;", TokenKind::StartTag,
     "apostrophes in attribute values were digested as &apos;"},
    {cause::kEntities, "&amp;", "&", TokenKind::Text,
     "ampersands in texts were digested without being escaped"},
    {cause::kEntities, "&amp;", "&", TokenKind::StartTag,
     "ampersands in attribute values were digested without being escaped"},
    {cause::kEntities, "&lt;", "<", TokenKind::Text, "&lt; in texts was digested as <"},
    {cause::kEntities, "&amp;", "&amp;amp;", TokenKind::Text,
     "ampersands were escaped twice when it was signed"},
};

// Carries a rule out in texts or in start tags. The rules of texts and of values differ, so each
// says where it applies.
void escape(const std::vector<Token>& tokens, const EscapeRule& rule, Change& change) {
    std::string out;
    std::size_t at = 0;
    std::size_t places = 0;
    for (const Token& token : tokens) {
        std::string_view text = token.text;
        // Where nothing is held back it stays empty.
        std::string_view behind;
        if (token.kind == rule.where && rule.where == TokenKind::StartTag && !text.empty()) {
            // Its own bracket is markup and not to be escaped.
            behind = text.substr(text.size() - 1); // the tag's own '>'
            text.remove_suffix(1);
        }
        if (token.kind == rule.where) {
            Change inside;
            replaceAll(text, rule.from, rule.to, inside);
            change.first = places == 0 ? at + inside.first : change.first;
            places += inside.places;
            out += inside.octets;
            out += behind;
        } else {
            out += text;
        }
        at += token.text.size();
    }
    change.octets = std::move(out);
    change.places = places;
}

// Each rule by itself.
bool escapeChanges(const std::vector<Token>& tokens, const ChangeVisit& visit) {
    for (const EscapeRule& rule : kEscapes) {
        Change change{rule.code, std::string(rule.evidence), {}};
        escape(tokens, rule, change);
        if (change.places > 0 && visit(change)) {
            return true;
        }
    }
    return false;
}

// `ending`: how a tag of an empty element closes. The canonical form has a start and an end tag.
// Whoever digests a serializer's output has one tag, with a blank ahead of its slash or without.
Change emptyTags(const std::vector<Token>& tokens, std::string_view ending) {
    Change change{cause::kOtherCanonicalization,
                  "empty elements were written as one tag, ending in " + quoted(ending),
                  {}};
    std::size_t at = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        std::string_view text = tokens[i].text;
        at += text.size();
        if (tokens[i].kind == TokenKind::StartTag && i + 1 < tokens.size() &&
            tokens[i + 1].kind == TokenKind::EndTag) {
            text.remove_suffix(1);
            change.octets += text;
            change.octets += ending;
            notePlace(at, change);
            at += tokens[++i].text.size();
        } else {
            change.octets += text;
        }
    }
    return change;
}

// Values that hold the other quote are rare enough to be passed over. Two quotes a value, so places
// are half of them.
Change singleQuotes(const std::vector<Token>& tokens) {
    Change change{cause::kOtherCanonicalization, "attribute values stood in single quotes", {}};
    for (const Token& token : tokens) {
        Change inside;
        if (token.kind == TokenKind::StartTag) {
            replaceAll(token.text, "\"", "'", inside);
            change.places += inside.places / 2;
        }
        change.octets +=
            token.kind == TokenKind::StartTag ? std::string_view(inside.octets) : token.text;
    }
    return change;
}

// What is neither text nor tag: the white space rules of the standard do not matter to it.
// Canonical XML keeps instructions; libraries that filter comments out often drop them along.
Change withoutInstructions(const std::vector<Token>& tokens) {
    Change change{cause::kOtherCanonicalization,
                  "processing instructions were left out when it was signed",
                  {}};
    for (const Token& token : tokens) {
        if (token.kind == TokenKind::Other && token.text.starts_with("<?")) {
            ++change.places;
        } else {
            change.octets += token.text;
        }
    }
    return change;
}

// References resolved. What begins none is left as it is: nobody has checked the text. Only
// characters and the five predefined entities; declared ones are expanded long before.
void appendResolved(std::string_view text, std::string& out) {
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] != '&') {
            out += text[at++];
            continue;
        }
        const xml::ReferenceForm reference = xml::matchReference(text.substr(at));
        // A '&' that a faulty serializer left unescaped is met here too.
        if (reference.kind != xml::ReferenceKind::Character &&
            reference.kind != xml::ReferenceKind::Predefined) {
            out += text[at++];
            continue;
        }
        char octets[4];
        out.append(octets, text::encodeUtf8(reference.value, octets));
        at += reference.length;
    }
}

// The texts, joined. `resolved`: as characters, not as they are escaped. Comments divide a text
// into two; joined they are what string functions of libraries return.
std::string stringValue(const std::vector<Token>& tokens, bool resolved) {
    std::string out;
    for (const Token& token : tokens) {
        if (token.kind != TokenKind::Text) {
            continue;
        }
        if (resolved) {
            appendResolved(token.text, out);
        } else {
            out += token.text;
        }
    }
    return out;
}

// Between the first start tag and the last end tag; empty where there is nothing. For a form that
// is one element; of several the first start and the last end are taken.
std::string_view inner(std::string_view form, const std::vector<Token>& tokens) {
    // Comments and instructions around the root are passed over.
    std::size_t from = 0;
    while (from < tokens.size() && tokens[from].kind != TokenKind::StartTag) {
        ++from;
    }
    std::size_t to = tokens.size();
    while (to > from + 1 && tokens[to - 1].kind != TokenKind::EndTag) {
        --to;
    }
    if (from + 1 >= to) {
        return {};
    }
    const char* const start = tokens[from].text.data() + tokens[from].text.size();
    const char* const end = tokens[to - 1].text.data();
    return form.substr(static_cast<std::size_t>(start - form.data()),
                       static_cast<std::size_t>(end - start));
}

// Nothing has no digest, and equals nothing. Empty octets would be offered as a form that could not
// be made.
bool visitUnlessEmpty(const ChangeVisit& visit, std::string_view code, std::string evidence,
                      std::string octets) {
    return !octets.empty() && visit({code, std::move(evidence), std::move(octets)});
}

} // namespace

// Empty elements first: nearly every serializer writes them as one tag. Rules of characters follow,
// since they touch more places.
bool markupChanges(std::string_view form, const ChangeVisit& visit) {
    const std::vector<Token> tokens = formTokens(form);
    for (const Change& change : {emptyTags(tokens, "/>"), emptyTags(tokens, " />"),
                                 singleQuotes(tokens), withoutInstructions(tokens)}) {
        if (change.places > 0 && visit(change)) {
            return true;
        }
    }
    return escapeChanges(tokens, visit);
}

// Programs that sign "the value of the node" by the function of that name in their library.
bool contentChanges(std::string_view form, const ChangeVisit& visit) {
    const std::vector<Token> tokens = formTokens(form);
    const std::string_view content = inner(form, tokens);
    // The string value of XPath 1.0, 5.2, comments and instructions left out.
    const std::string text = stringValue(tokens, true);
    DataBuffer decoded;
    const std::string_view digits = text::trimmed(text);
    // A document in base64 inside an element, of which the digest is to be that of the file.
    const bool isBase64 = text::decodeBase64(digits, decoded);
    return visitUnlessEmpty(visit, cause::kContentOnly,
                            "the content of the element was digested, without its tags",
                            std::string(content)) ||
           visitUnlessEmpty(visit, cause::kContentOnly,
                            "the content of the element was digested, without its tags and the "
                            "white space around it",
                            std::string(text::trimmed(content))) ||
           visitUnlessEmpty(visit, cause::kContentOnly, "only the texts were digested", text) ||
           visitUnlessEmpty(visit, cause::kContentOnly,
                            "only the texts were digested, without white space around them",
                            std::string(digits)) ||
           visitUnlessEmpty(visit, cause::kContentOnly,
                            "only the texts were digested, as they are escaped",
                            stringValue(tokens, false)) ||
           (isBase64 && visitUnlessEmpty(visit, cause::kDecodedContent,
                                         "the octets were digested that the content decodes to",
                                         std::string(asText(decoded.view()))));
}

} // namespace vantrel::dsig::explain
