// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_SIGNED_DATA_H
#define FOUNDATION_CMS_SIGNED_DATA_H

#include "foundation/text/byte_view.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace vantrel::cms {

// What is read of CMS signed data (RFC 5652): its structure, nothing more. Nothing here verifies;
// signer_check.h does, with the certificates of certificate_source.h.

// Most certificates and most signers that are read from one SignedData. A time-stamp
// token has one signer and a handful of certificates; each signer costs at least one verification
// with a key of the sender's choice.
inline constexpr std::size_t kMaxCertificates = 100;
inline constexpr std::size_t kMaxSigners = 16;

// One signer as the message describes him. Views point into the parsed bytes.
struct SignerInfo {
    // The certificate is named by issuer (a Name, with header) and serial number (contents octets),
    // or by subject key identifier; the other is empty.
    ByteView issuer;
    ByteView serialNumber;
    ByteView keyIdentifier;
    ByteView digestAlgorithm; // AlgorithmIdentifier, with header
    // An empty set that is there is malformed, while none at all is not.
    bool hasSignedAttributes = false;
    ByteView signedAttributes;   // the elements of the set
    ByteView signatureAlgorithm; // AlgorithmIdentifier, with header
    ByteView signature;
    ByteView unsignedAttributes; // the elements of the set; carried_evidence.h reads them
};

// SignedData (RFC 5652 5.1). Views point into the parsed bytes.
struct SignedData {
    ByteView contentType; // contents of the object identifier
    // False for a detached signature, whose content is elsewhere. Content that is there may be
    // empty.
    bool hasContent = false;
    ByteView content;                   // contents of the octet string
    std::vector<ByteView> certificates; // X.509 only, with headers
    ByteView revocationInfo;            // the elements of the set; carried_evidence.h reads them
    std::vector<SignerInfo> signers;
    std::size_t size = 0; // bytes that the ContentInfo took
};

// Malformed and OtherContentType are told apart since only the first may be BER that wants to be
// normalised (ber_normalize.h) and read once more.
enum class SignedDataVerdict { Parsed, Malformed, OtherContentType };

// Reads a DER ContentInfo that holds SignedData, at the front of `der`; bytes may follow. Unless it
// is parsed, `out` is unusable and `whyNot` is a text of static lifetime. May throw std::bad_alloc.
[[nodiscard]] SignedDataVerdict parseSignedData(ByteView der, SignedData& out,
                                                std::string_view& whyNot);

} // namespace vantrel::cms

#endif
