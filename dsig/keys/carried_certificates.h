// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_CARRIED_CERTIFICATES_H
#define DSIG_KEYS_CARRIED_CERTIFICATES_H

#include "dsig/document/decoded_certificate.h"
#include "dsig/document/document.h"
#include "foundation/text/byte_view.h"

#include <array>
#include <string_view>

// The certificates that a document carries anywhere, and not only in the KeyInfo of a signature.
// Each table of them is made in one pass when it is first asked for, and serves all signatures.
namespace vantrel::dsig {

// XML Signature 4.5.4, XAdES (ETSI TS 101 903), WS-Security: by local name in any namespace.
inline constexpr std::array<std::string_view, 3> kCertificateElements = {
    "X509Certificate", "EncapsulatedX509Certificate", "BinarySecurityToken"};

// The first element whose certificate's public key has these octets (kNoElement for none). Their
// SHA-256 is compared, so that the key itself is still to be.
[[nodiscard]] xml::ElementId carriedByKey(Document& document, ByteView keyBits);
// The first element whose certificate has this digest. `hashAlg` names an algorithm (hash_ids.h).
[[nodiscard]] xml::ElementId carriedByDigest(Document& document, int hashAlg, ByteView digest);

// The certificate in such an element. Never null.
[[nodiscard]] CertificateCache::Entry carriedCertificate(Document& document,
                                                         xml::ElementId element);

} // namespace vantrel::dsig

#endif
