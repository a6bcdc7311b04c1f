// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_ATTRIBUTE_TYPES_H
#define FOUNDATION_X509_ATTRIBUTE_TYPES_H

#include "foundation/text/byte_view.h"

#include <string>
#include <string_view>

namespace vantrel::x509 {

// One attribute type of distinguished names: those of RFC 4514, RFC 4519 and RFC 5280, of PKCS #9,
// of qualified certificates (RFC 3739, ETSI EN 319 412-1), and of national ones.
struct AttributeType {
    std::string_view label; // as we write it: "CN", "emailAddress"
    std::string_view oid;   // dotted
};

// Null when the type is not known. `oid`: contents octets of the identifier. `label`: a name of the
// type in any letter case (several have more than one), or its dotted identifier with or without
// "OID." before it.
[[nodiscard]] const AttributeType* findAttributeByOid(ByteView oid) noexcept;
[[nodiscard]] const AttributeType* findAttributeByLabel(std::string_view label) noexcept;

// Appends the label of the type, or its dotted identifier; false for octets that are no identifier.
[[nodiscard]] bool appendAttributeLabel(ByteView oid, std::string& out);

// The one form that all labels of a type share: our label in lower case; of an unknown type the
// dotted identifier, or the label itself in lower case.
void appendFoldedLabel(std::string_view label, std::string& out);

constexpr char foldAscii(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

} // namespace vantrel::x509

#endif
