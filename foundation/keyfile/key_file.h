// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_KEYFILE_KEY_FILE_H
#define FOUNDATION_KEYFILE_KEY_FILE_H

#include "foundation/text/DataBuffer.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/text/byte_view.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Files of public keys, whatever form they come in. Nothing here is trusted because of its form:
// who hands a key over vouches for it.
namespace vantrel::keyfile {

// No file of keys is larger; more would be read as text many times over.
inline constexpr std::size_t kMaxKeyFile = std::size_t{16} << 20U;

// Why a file gave no key.
struct KeyFileFault {
    std::string what;        // what the bytes are, or what is wrong with them; one line
    std::string_view remedy; // a command or option that helps, FILE for the file's name; or empty
};

// Appends the public keys that the bytes hold:
// - PEM (RFC 7468), DER, or base64 of DER: a SubjectPublicKeyInfo, an RSAPublicKey, a certificate
// (its
//   key). Of several PEM blocks the first that is one of these counts, so that a chain of
//   certificates stands for its first;
// - a CMS certificate bag (RFC 5652, PKCS #7), PEM or DER: the keys of all its certificates;
// - a JWK or a JWK set (RFC 7517), RSA and EC: all keys that are not for encryption;
// - an XML key value.
// Certificates and JWKs with keys of another kind are passed over beside others. False, with `keys`
// unchanged and `fault` filled, when there is no key; so are private keys. `certificates` (null for
// none) gets in DER those that keys came from: they name the keys' holders. May throw
// std::bad_alloc.
[[nodiscard]] bool loadKeys(ByteView bytes, std::vector<Ref<ClsPublicKey>>& keys,
                            KeyFileFault& fault, std::vector<DataBuffer>* certificates = nullptr);

} // namespace vantrel::keyfile

#endif
