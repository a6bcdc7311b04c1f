// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_RSA_DIGEST_INFO_H
#define FOUNDATION_CRYPTO_RSA_DIGEST_INFO_H

#include "foundation/text/byte_view.h"

namespace vantrel::crypto {

// The bytes that stand before the hash in a DigestInfo (RFC 8017, 9.2): everything up to and
// with the header of the OCTET STRING. `withNull` chooses between the two encodings of absent
// parameters. Empty for an identifier that names no algorithm.
[[nodiscard]] ByteView digestInfoPrefix(int hashId, bool withNull) noexcept;

} // namespace vantrel::crypto

#endif
