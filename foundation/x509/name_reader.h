// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_NAME_READER_H
#define FOUNDATION_X509_NAME_READER_H

#include "foundation/asn1/der_reader.h"
#include "foundation/text/byte_view.h"

#include <string>

namespace vantrel::x509 {

// One attribute of a DER Name.
struct DerAttribute {
    ByteView type; // contents octets of the identifier
    asn1::DerElement value;
    bool startsComponent = false; // the first of its RelativeDistinguishedName
};

// A forward cursor over the attributes of a Name (RFC 5280 4.1.2.4).
class NameReader {
public:
    // `name`: the element with its header.
    explicit NameReader(ByteView name) noexcept;

    // False at the end and at malformed input; `failed` tells them apart.
    [[nodiscard]] bool next(DerAttribute& attribute) noexcept;
    [[nodiscard]] bool failed() const noexcept { return m_failed; }

private:
    asn1::DerReader m_components;
    asn1::DerReader m_attributes;
    bool m_failed = false;
};

// Whether the whole name is well-formed.
[[nodiscard]] bool isWellFormedName(ByteView name) noexcept;

// Appends a value of one of the string types as UTF-8. T61 is read as ISO 8859-1, which is what
// issuers put there, and so are bytes that are not valid UTF-8 where UTF-8 or ASCII should be.
// False, with `out` unchanged, for other types and for broken BMP or Universal strings.
[[nodiscard]] bool appendStringValue(asn1::Tag tag, ByteView contents, std::string& out);

// Appends the common name of the most specific component that has one; false when there is none.
[[nodiscard]] bool appendCommonName(ByteView name, std::string& out);

} // namespace vantrel::x509

#endif
