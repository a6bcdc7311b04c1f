// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_OCSP_H
#define FOUNDATION_X509_PATH_OCSP_H

#include "foundation/text/byte_view.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::x509 {

// Unknown is also what is said where no evidence is found, so that silence never reads as good.
enum class RevocationStatus : std::uint8_t { Unknown, Good, Revoked };

// One SingleResponse (RFC 6960 4.2.1). The certificate is named by hashes; whether they are those
// of a certificate shows on comparison.
struct OcspAnswer {
    int hashId = 0; // of the two hashes; hash_ids.h; 0: not known here
    ByteView issuerNameHash;
    ByteView issuerKeyHash;
    // As in the certificate, octet for octet.
    ByteView serial; // INTEGER contents
    RevocationStatus status = RevocationStatus::Unknown;
    // The moment and CRLReason of a revocation; 0 else.
    std::int64_t revokedAt = 0;
    std::int64_t reason = 0;
    std::int64_t thisUpdate = 0;
    // Without it newer information is always available (RFC 6960 4.2.2.1), which a stored response
    // cannot show: it then counts as one that does not expire.
    std::optional<std::int64_t> nextUpdate;
    bool unknownCritical = false;
};

// A successful BasicOCSPResponse (RFC 6960 4.2.1). Views point into the bytes it was read from.
// Nothing in it is to be believed before its signature is checked.
struct OcspResponse {
    ByteView tbs; // with header
    ByteView signatureAlgorithm;
    ByteView signature;
    // One of the two is empty.
    std::string responderName; // key as in directory_name.h; empty when named by key
    ByteView responderKeyHash; // SHA-1; empty when named by name
    std::int64_t producedAt = 0;
    std::vector<OcspAnswer> answers;
    // Of the response. The answers have their own.
    bool unknownCritical = false;
    std::vector<ByteView> certificates; // DER, as they stand in the response
};

// Reads an OCSPResponse. False for one that is malformed, reports an error, or is of another type;
// `whyNot` is then a text of static lifetime. May throw std::bad_alloc. On failure `response` is
// unchanged. The certificates are not read, only counted.
[[nodiscard]] bool parseOcspResponse(ByteView der, OcspResponse& response,
                                     std::string_view& whyNot);

} // namespace vantrel::x509

#endif
