// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ASN1_OID_H
#define FOUNDATION_ASN1_OID_H

#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel::asn1 {

// Object identifiers (X.690 8.19) between contents octets and dotted text. Each component is below
// 2^128, which covers those made from UUIDs, and an identifier has at most kMaxOidBytes octets.
inline constexpr std::size_t kMaxOidBytes = 128;

struct OidBytes {
    std::uint8_t bytes[kMaxOidBytes];
    std::size_t size = 0;

    [[nodiscard]] ByteView view() const noexcept { return {bytes, size}; }
};

// Appends the dotted text; false, with `out` unchanged, when the octets are no identifier within
// the limits in its shortest encoding.
[[nodiscard]] bool oidToText(ByteView contents, std::string& out);

// The contents octets of a dotted identifier; false for anything else (also leading zeros or
// blanks).
[[nodiscard]] bool oidFromText(std::string_view dotted, OidBytes& out) noexcept;

} // namespace vantrel::asn1

#endif
