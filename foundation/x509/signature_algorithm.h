// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_SIGNATURE_ALGORITHM_H
#define FOUNDATION_X509_SIGNATURE_ALGORITHM_H

#include "foundation/text/byte_view.h"
#include "foundation/x509/keys/_vlPublicKey.h"

#include <string>
#include <string_view>

namespace vantrel {

class LogBase;

namespace x509 {

// A signature algorithm as certificates and CMS signers name it.
struct SignatureAlgorithm {
    KeyKind kind = KeyKind::None;
    bool pss = false;
    int hashId =
        0; // hash_ids.h; 0: the identifier names none (rsaEncryption in CMS, EdDSA, ML-DSA)
    int mgfHashId = 0;     // PSS only
    std::string_view name; // static: "sha256WithRSAEncryption"
};

// Reads an AlgorithmIdentifier (header included): RFC 3279, RFC 4055, RFC 5754, RFC 5758,
// RFC 8410, RFC 9688, RFC 9881. False for an algorithm that is not known or malformed parameters.
[[nodiscard]] bool parseSignatureAlgorithm(ByteView algorithmIdentifier, SignatureAlgorithm& out);

// The algorithm's name, or its dotted identifier when it is not known; false when malformed.
[[nodiscard]] bool appendSignatureAlgorithmName(ByteView algorithmIdentifier, std::string& out);

// The hash named by an AlgorithmIdentifier of a digest (header included); 0 when it is not known.
[[nodiscard]] int parseDigestAlgorithm(ByteView algorithmIdentifier);

// Whether `signature` is the key's signature over `signedBytes`. False also when the key is of
// another kind than the algorithm, or the algorithm names no hash.
[[nodiscard]] bool verifySignedBytes(const SignatureAlgorithm& algorithm, const _vlPublicKey& key,
                                     ByteView signedBytes, ByteView signature, LogBase& log);

} // namespace x509

} // namespace vantrel

#endif
