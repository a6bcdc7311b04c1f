// SPDX-License-Identifier: MIT
#ifndef BENCH_SIGNED_DOCUMENTS_H
#define BENCH_SIGNED_DOCUMENTS_H

#include <cstddef>
#include <string>

// Documents that xmlsec signs, for measurements in which both sides verify the same octets, and
// xmlsec's own verification of them. A failure of the peer ends the program: there would be nothing
// to compare with.
namespace vantrel::bench {

enum class SignedBy { Rsa2048, P256, P384, Hmac };

// What a document is signed with, and how.
struct Signing {
    SignedBy key = SignedBy::Rsa2048;
    bool exclusive = false;
    bool withCertificate = false; // in KeyInfo; otherwise the key has to be given
};

// An invoice-like document of about `size` octets under an enveloped signature; no line is like
// another, so that no branch predictor knows it by heart. Each seed gives other lines.
[[nodiscard]] std::string envelopedDocument(std::size_t size, const Signing& signing,
                                            unsigned seed = 7);
// One signature with `count` references by Id.
[[nodiscard]] std::string manyReferences(std::size_t count);
// `count` signatures with one reference by Id each.
[[nodiscard]] std::string manySignatures(std::size_t count);

// SubjectPublicKeyInfo of the key that such documents are signed with, as DER; not for HMAC.
[[nodiscard]] std::string publicKeyDer(SignedBy key);
// The secret of SignedBy::Hmac.
[[nodiscard]] std::string hmacSecret();

// Reads and verifies a document by xmlsec. False when one of its signatures does not verify.
[[nodiscard]] bool peerVerifies(const std::string& text, const Signing& signing);

} // namespace vantrel::bench

#endif
