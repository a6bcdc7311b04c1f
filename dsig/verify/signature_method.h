// SPDX-License-Identifier: MIT
#ifndef DSIG_VERIFY_SIGNATURE_METHOD_H
#define DSIG_VERIFY_SIGNATURE_METHOD_H

#include "foundation/crypto/rsa/padding.h"

#include <string_view>

namespace vantrel {

class ClsXml;
class DataBuffer;
class LogBase;
class StringBuffer;

// Key types of signature methods. To the functions below the methods of EdDSA and ML-DSA are of an
// unknown type.
inline constexpr int kKeyTypeUnknown = -1;
inline constexpr int kKeyTypeRsa = 1;
inline constexpr int kKeyTypeDsa = 2;
inline constexpr int kKeyTypeEcdsa = 3;
inline constexpr int kKeyTypeHmac = 4;
inline constexpr int kKeyTypeEdDsa = 5; // of SignatureMethod alone, as the next
inline constexpr int kKeyTypeMlDsa = 6;

// The hash that a signature method's identifier names (hash_ids.h); 0 when it names none, -1 when
// it names one that is not supported. Pure functions of the text; nothing is logged.
[[nodiscard]] int signatureMethodToHashAlg(const StringBuffer& algorithmUri, LogBase& log);
// The key type that it names, kKeyTypeUnknown when it names none.
[[nodiscard]] int signatureMethodToKeyType(const StringBuffer& algorithmUri, LogBase& log);

namespace dsig {

// What a SignatureMethod asks for.
struct SignatureMethod {
    // As the functions above tell it; 0 with EdDSA and ML-DSA, which hash in their own ways.
    int hashAlg = 0;
    int keyType = kKeyTypeUnknown;
    int mgfHashAlg = 0;     // RSASSA-PSS: the hash of MGF1; 0 for every other method
    std::string_view curve; // EdDSA: its name; ML-DSA: that of the set of parameters
    // The code of the recommendation that it was read by (standards.h); empty where the substrings
    // of its identifier were enough.
    std::string_view standard;
    int saltLength = crypto::kAnySalt; // RSASSA-PSS: in bytes, where the method names it
    bool withContext = false;          // EdDSA, ML-DSA: readMethodContext may find one
    bool preHashed = false;            // EdDSA

    // Whether what the value is over is hashed before a key is asked.
    [[nodiscard]] bool takesHash() const noexcept {
        return keyType != kKeyTypeEdDsa && keyType != kKeyTypeMlDsa;
    }
};

// By the substrings of the identifier; where these name no hash or no key, and `withStandards`, by
// the whole identifier as RFC 9231 has it. `element` is the SignatureMethod, whose children may
// parametrise it (may be null).
[[nodiscard]] SignatureMethod readSignatureMethod(const StringBuffer& algorithmUri,
                                                  const ClsXml* element, bool withStandards,
                                                  LogBase& log);
// The context that a SignatureMethod names (RFC 8032, 2; FIPS 204, 5.2); empty where it names none.
// False for one that is not base64 or too long, and where the method takes none.
[[nodiscard]] bool readMethodContext(const SignatureMethod& method, const ClsXml& element,
                                     DataBuffer& context);
// The same as readSignatureMethod without the children. Only the code is of use.
[[nodiscard]] std::string_view standardOfMethod(std::string_view algorithmUri);

} // namespace dsig
} // namespace vantrel

#endif
