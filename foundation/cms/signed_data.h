#ifndef FOUNDATION_CMS_SIGNED_DATA_H
#define FOUNDATION_CMS_SIGNED_DATA_H

#include "foundation/text/byte_view.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace vantrel::cms {

// Most certificates and most signers that are read from one SignedData.
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
    bool hasSignedAttributes = false;
    ByteView signedAttributes;   // the elements of the set
    ByteView signatureAlgorithm; // AlgorithmIdentifier, with header
    ByteView signature;
};

// SignedData (RFC 5652 5.1). Views point into the parsed bytes.
struct SignedData {
    ByteView contentType; // contents of the object identifier
    bool hasContent = false;
    ByteView content;
    std::vector<ByteView> certificates; // X.509 only, with headers
    std::vector<SignerInfo> signers;
    std::size_t size = 0; // bytes that the ContentInfo took
};

enum class SignedDataVerdict { Parsed, Malformed, OtherContentType };

// Reads a DER ContentInfo that holds SignedData. Unless it is parsed, `out` is unusable and
// `whyNot` is a text of static lifetime. May throw std::bad_alloc.
[[nodiscard]] SignedDataVerdict parseSignedData(ByteView der, SignedData& out,
                                                std::string_view& whyNot);

} // namespace vantrel::cms

#endif
