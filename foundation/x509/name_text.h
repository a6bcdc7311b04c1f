// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_NAME_TEXT_H
#define FOUNDATION_X509_NAME_TEXT_H

#include "foundation/text/byte_view.h"

#include <string>
#include <string_view>
#include <vector>

namespace vantrel::x509 {

// One attribute of a name in text form.
struct TextAttribute {
    std::string_view label;       // as written
    std::string value;            // escapes resolved, UTF-8
    bool startsComponent = false; // "," or ";" stood before it, not "+"
};

// Splits a name into its attributes, in the order of the text; DistinguishedName.h says what is
// accepted. The labels are views into `dn`. False for text that does not begin with a label and
// "="; an empty name has no attributes and is fine. Linear in the text.
[[nodiscard]] bool parseNameText(std::string_view dn, std::vector<TextAttribute>& out);

// Appends `value` with the escapes of RFC 4514 2.4.
void appendEscapedValue(std::string_view value, std::string& out);
// Whether the value is ASCII that needs none of them: its text is the value itself.
[[nodiscard]] bool isPlainValue(std::string_view value) noexcept;

// Appends the text of a value of no string type: "#" and its DER in hexadecimal (RFC 4514 2.4).
void appendHexValue(ByteView der, std::string& out);

// The text behind such a value ("#0C0141" is "A"); false when it is not of that form or not a
// string.
[[nodiscard]] bool appendDecodedHexValue(std::string_view value, std::string& out);

// The byte behind two hexadecimal digits at the front of `text`.
[[nodiscard]] bool decodeHexPair(std::string_view text, char& byte) noexcept;

// Appends the value with ASCII letters in lower case, and with its white space trimmed and every
// run of it made one blank.
void appendFoldedValue(std::string_view value, std::string& out);

constexpr bool isNameSpace(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

} // namespace vantrel::x509

#endif
