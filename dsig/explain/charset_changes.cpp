// SPDX-License-Identifier: MIT
// Octets of another character set than UTF-8 (Canonical XML 1.0, 2.1 allows no other), byte-order
// marks, and characters that were written otherwise on the way to the digest. Signers that convert
// a document to its declared encoding before they digest it are common where the language's strings
// have no encoding of their own.

#include "dsig/explain/codes.h"
#include "dsig/explain/form_tokens.h"
#include "dsig/explain/text_changes.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/_vlCharset.h"
#include "foundation/text/utf8.h"

#include <algorithm>
#include <charconv>

namespace vantrel::dsig::explain {

namespace {

// The byte-order mark in UTF-8.
constexpr std::string_view kMark = "\xEF\xBB\xBF";

bool isAscii(std::string_view text) { return text::asciiPrefix(text) == text.size(); }

// `mark`: a byte-order mark ahead.
struct Form {
    const char* name;
    std::string_view mark;
    bool wide; // other octets even for ASCII
};
// Sets of the countries whose formats are signed most; those that share most of their letters are
// told apart by the digest. ISO-8859-1 before windows-1252: where a text has none of the latter's
// own letters the octets are the same, and the narrower name is the better evidence.
constexpr Form kForms[] = {
    {"ISO-8859-1", "", false},      {"windows-1252", "", false},    {"ISO-8859-15", "", false},
    {"windows-1250", "", false},    {"ISO-8859-2", "", false},      {"windows-1251", "", false},
    {"UTF-16LE", "", true},         {"UTF-16LE", "\xFF\xFE", true}, {"UTF-16BE", "", true},
    {"UTF-16BE", "\xFE\xFF", true},
};

// A character that the set does not have rules it out. A text of plain ASCII is the same octets in
// all but the wide ones.
bool otherCharset(std::string_view form, const ChangeVisit& visit) {
    const bool ascii = isAscii(form);
    for (const Form& each : kForms) {
        _vlCharset charset;
        DataBuffer octets;
        if ((ascii && !each.wide) || !charset.setByName(each.name) ||
            !charset.fromUtf8(form, octets)) {
            continue;
        }
        Change change{cause::kCharset,
                      "the digest is of octets in " + std::string(each.name) + ", not in UTF-8",
                      std::string(each.mark)};
        change.evidence += each.mark.empty() ? "" : ", with a byte-order mark";
        change.octets += asText(octets.view());
        if (visit(change)) {
            return true;
        }
    }
    return false;
}

// UTF-8 that was taken for a single-byte set and encoded again when it was signed. The text looks
// right to the signer, whose program shows it in the wrong set once more; only the digest tells.
bool encodedTwice(std::string_view form, const ChangeVisit& visit) {
    for (const char* const name : {"ISO-8859-1", "windows-1252"}) {
        _vlCharset charset;
        StringBuffer twice;
        // Only for what is not ASCII: that is the same, encoded once or twice.
        if (isAscii(form) || !charset.setByName(name) || !charset.toUtf8(asBytes(form), twice)) {
            continue;
        }
        if (visit(
                {cause::kCharset,
                 std::string("the text was encoded in UTF-8 twice when it was signed, taken for ") +
                     name,
                 std::string(twice.view())})) {
            return true;
        }
    }
    return false;
}

enum class Number { Decimal, Hex, LowerHex };

// "&#233;", "&#xE9;", "&#xe9;" Both spellings of hexadecimal are in use, and neither is canonical
// (Canonical XML 1.0, 2.3 has characters as such).
void appendReference(char32_t character, Number number, std::string& out) {
    char digits[12];
    const auto value = static_cast<std::uint32_t>(character);
    const auto end =
        std::to_chars(digits, digits + sizeof digits, value, number == Number::Decimal ? 10 : 16)
            .ptr;
    if (number == Number::Hex) {
        std::transform(digits, end, digits,
                       [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
    }
    out += number == Number::Decimal ? "&#" : "&#x";
    out.append(digits, end);
    out += ";";
}

// As serializers write that put out ASCII only, or (from U+0080 on `replacement` is one octet) that
// lose what is not. In the second case the letters cannot be had back; that they were gone is all
// that can be said.
bool otherCharacters(std::string_view form, const ChangeVisit& visit) {
    if (isAscii(form)) {
        return false;
    }
    // Plain functions, so that the table is constant.
    struct Rule {
        std::string_view code;
        std::string_view evidence;
        void (*write)(char32_t character, std::string& out);
    };
    constexpr Rule kRules[] = {
        {cause::kCharset, "characters beyond ASCII were digested as decimal references",
         [](char32_t c, std::string& out) { appendReference(c, Number::Decimal, out); }},
        {cause::kCharset, "characters beyond ASCII were digested as hexadecimal references",
         [](char32_t c, std::string& out) { appendReference(c, Number::Hex, out); }},
        {cause::kCharset, "characters beyond ASCII were digested as hexadecimal references",
         [](char32_t c, std::string& out) { appendReference(c, Number::LowerHex, out); }},
        {cause::kLostCharacters, "characters beyond ASCII were question marks when it was signed",
         [](char32_t, std::string& out) { out += '?'; }},
        {cause::kLostCharacters, "characters beyond ASCII were missing when it was signed",
         [](char32_t, std::string&) {}},
        {cause::kLostCharacters, "characters beyond ASCII were U+FFFD when it was signed",
         [](char32_t, std::string& out) { out += "\xEF\xBF\xBD"; }},
    };
    for (const Rule& rule : kRules) {
        Change change{rule.code, std::string(rule.evidence), {}};
        // Octet by octet where there is no character beyond ASCII.
        for (std::size_t at = 0; at < form.size();) {
            char32_t character = 0;
            const std::size_t length = text::decodeUtf8(form.substr(at), character);
            // A broken octet counts as ASCII here: it is copied.
            if (length < 2) {
                change.octets += form[at];
                ++at;
                continue;
            }
            notePlace(at, change);
            rule.write(character, change.octets);
            at += length;
        }
        if (change.places > 0 && visit(change)) {
            return true;
        }
    }
    return false;
}

} // namespace

bool charsetChanges(std::string_view form, const ChangeVisit& visit) {
    // The mark belongs to a file and not to its text, so no canonical form has one.
    Change mark{cause::kByteOrderMark, "a byte-order mark was digested ahead of the rest",
                std::string(kMark)};
    mark.octets += form;
    if (form.starts_with(kMark)) {
        mark.evidence = "a byte-order mark stands ahead that was not digested";
        mark.octets = form.substr(kMark.size());
    }
    return visit(mark) || otherCharset(form, visit) || encodedTwice(form, visit) ||
           otherCharacters(form, visit);
}

} // namespace vantrel::dsig::explain
