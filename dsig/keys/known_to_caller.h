// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_KNOWN_TO_CALLER_H
#define DSIG_KEYS_KNOWN_TO_CALLER_H

#include "foundation/text/byte_view.h"

namespace vantrel {

class SystemCerts;
class VantrelX509;
class _vlPublicKey;

// What a document carries and the caller handed over as well does not rest on the document alone.
namespace dsig {

// A number of the key in which different keys hardly ever agree; a view into it. The RSA modulus, y
// of DSA, or the point on the curve; empty without a key.
[[nodiscard]] ByteView distinctiveNumber(const _vlPublicKey& key) noexcept;
// Whether both are the same public key, with all its parameters; false where one of them is none.
[[nodiscard]] bool isSameKey(const _vlPublicKey& one, const _vlPublicKey& other) noexcept;
// Whether the certificate is one of this key. The octets of its key alone do not tell: the same y
// of DSA in another group, made for the purpose, is a key whose private half anybody can know.
[[nodiscard]] bool isCertificateOf(const VantrelX509& cert, const _vlPublicKey& key);
// Whether both are certificates of one key. May throw std::bad_alloc.
[[nodiscard]] bool isSameCertificate(const VantrelX509& one, const VantrelX509& other);
[[nodiscard]] bool haveSameKey(const VantrelX509& one, const VantrelX509& other);
// Whether the store (may be null) holds this very certificate. Its octets are compared: another
// certificate with the same names does not count.
[[nodiscard]] bool storeHolds(SystemCerts* store, const VantrelX509& cert);

} // namespace dsig
} // namespace vantrel

#endif
