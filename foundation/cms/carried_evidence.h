// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_CARRIED_EVIDENCE_H
#define FOUNDATION_CMS_CARRIED_EVIDENCE_H

#include "foundation/text/DataBuffer.h"

#include <cstddef>
#include <vector>

namespace vantrel::cms {

struct SignedData;

// Most items of each kind that are taken from one message; a time-stamp token has a handful.
inline constexpr std::size_t kMaxEvidence = 1000;

// What a message carries for those who judge its certificates, besides the certificates that stand
// in their own place: revocation data (RFC 5652 10.2.1, RFC 5940), and what was added to a signer
// later as unsigned attributes (RFC 5126 6.3.3, 6.3.4). Nobody vouches for any of it: each piece is
// to be believed for its own signature.
struct CarriedEvidence {
    std::vector<DataBuffer> certificates;
    std::vector<DataBuffer> crls;          // CertificateLists
    std::vector<DataBuffer> ocspResponses; // OCSPResponses
    bool complete = true;                  // false: there was more than kMaxEvidence
};

// Parts that cannot be read are passed over, as is what is of another kind. May throw
// std::bad_alloc.
[[nodiscard]] CarriedEvidence collectEvidence(const SignedData& data);

} // namespace vantrel::cms

#endif
