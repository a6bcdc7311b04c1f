// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_KEYS_KEY_DER_H
#define FOUNDATION_X509_KEYS_KEY_DER_H

#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace vantrel {

class _vlPublicKey;

namespace x509 {

// Public keys in DER. On failure the key is left empty and `whyNot` is a short text of static
// lifetime. May throw std::bad_alloc.

// A SubjectPublicKeyInfo (RFC 5280 4.1.2.7): RSA (also under the PSS identifier), DSA with its
// parameters, an elliptic-curve point on a curve that is named or whose explicit parameters equal
// those of a known curve, a key of EdDSA (RFC 8410, 4) or one of ML-DSA (RFC 9881, 4).
[[nodiscard]] bool loadSubjectPublicKeyInfo(ByteView der, _vlPublicKey& key,
                                            std::string_view& whyNot);

// An RSAPublicKey (RFC 8017 A.1.1).
[[nodiscard]] bool loadRsaPublicKey(ByteView der, _vlPublicKey& key, std::string_view& whyNot);

// Either of them, told apart by what the outer sequence begins with. BER is converted first.
[[nodiscard]] bool loadKeyDer(ByteView der, _vlPublicKey& key, std::string_view& whyNot);

// The SubjectPublicKeyInfo of a key in the form that RFC 3279 and RFC 5480 prescribe:
// rsaEncryption, DSA with its parameters, or an uncompressed point on a named curve; of EdDSA in
// that of RFC 8410, of ML-DSA in that of RFC 9881. Empty without a key.
[[nodiscard]] std::vector<std::uint8_t> subjectPublicKeyInfo(const _vlPublicKey& key);
// The octets of its subjectPublicKey BIT STRING, as VantrelX509::subjectPublicKeyBits gives them.
[[nodiscard]] std::vector<std::uint8_t> subjectPublicKeyBits(const _vlPublicKey& key);

} // namespace x509

} // namespace vantrel

#endif
