// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_NAME_PREPARATION_H
#define FOUNDATION_TEXT_NAME_PREPARATION_H

#include <string>
#include <string_view>

namespace vantrel::text {

// Texts as directories compare them without regard to letter case (RFC 4518, caseIgnoreMatch): two
// texts are equal when their prepared forms are equal octets. White space of any kind is trimmed
// and every run of it made one blank; what has no appearance (soft hyphens, joiners, directions,
// control characters) is left out; letters are folded and taken apart into bases and marks, in the
// order of Unicode Standard Annex 15, so that composed and decomposed spellings are one.
//
// Letter case and composition are those of the Latin, Greek, Cyrillic and Armenian alphabets up to
// U+058F and U+1E00 to U+1EFF, with ligatures, letter-like signs and the wide forms of ASCII. Other
// scripts have no letter case, with few exceptions, and are compared as they stand.

// Appends the prepared form of a text. False, with `out` unchanged, for what cannot be compared: no
// well-formed UTF-8, or with characters that nobody agrees on (RFC 4518 2.4: private use,
// non-characters, the replacement character). May throw std::bad_alloc.
[[nodiscard]] bool appendPrepared(std::string_view text, std::string& out);

} // namespace vantrel::text

#endif
