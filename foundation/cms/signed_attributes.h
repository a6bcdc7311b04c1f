// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_SIGNED_ATTRIBUTES_H
#define FOUNDATION_CMS_SIGNED_ATTRIBUTES_H

#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantrel::cms {

// Signed attributes stand between content and signature: the signature is over their encoding, and
// one of them, message-digest, is the digest of the content (RFC 5652 5.4). Attributes that are not
// listed here are signed as well and have no say.

// The signed attributes that matter here (RFC 5652 11, RFC 5035). Views point into the parsed
// bytes; an attribute that is absent is empty.
struct SignedAttributes {
    ByteView contentType;          // contents of the object identifier
    ByteView messageDigest;        // contents of the octet string
    ByteView signingCertificate;   // the value, with header
    ByteView signingCertificateV2; // the value, with header
};

// Most signed attributes that are read from one signer; real ones have a handful. It bounds the
// sorting of encodeSignedAttributes.
inline constexpr std::size_t kMaxSignedAttributes = 256;

// Reads the elements of a set of attributes. False when one is malformed, when one of the above
// stands there twice or has not exactly one value, when one of the first two is missing, or when
// there are too many. RFC 5652 11 demands all of that; a second message-digest, say, would leave it
// to the reader which content was signed. `out` is then unchanged.
[[nodiscard]] bool parseSignedAttributes(ByteView elements, SignedAttributes& out) noexcept;

// `out` := the set as it is signed: with the tag of a SET, its elements in the order of DER (X.690
// 11.6) if `sorted`, else as they stand (signers in the wild sign what they wrote). True when
// sorting changed their order. May throw std::bad_alloc. The elements must have been parsed before.
bool encodeSignedAttributes(ByteView elements, bool sorted, std::vector<std::uint8_t>& out);

} // namespace vantrel::cms

#endif
