// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_REVOCATION_H
#define FOUNDATION_X509_PATH_REVOCATION_H

#include "foundation/x509/path/candidate_store.h"
#include "foundation/x509/path/ocsp.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vantrel::x509 {

// Where a certificate stands on the path whose certificates are checked for revocation. The anchor
// goes with it because evidence has to be signed under the same one.
struct PathPlace {
    const Candidate& certificate;
    const Candidate& issuer;
    const Candidate& anchor;
};

// Answers whether the signer of a list may be believed: whether his certificate leads to the
// anchor (RFC 5280 6.3.3 f). An interface, so that lists can ask for a path without knowing how
// paths are built.
class SignerTrust {
public:
    SignerTrust() noexcept = default;
    SignerTrust(const SignerTrust&) = delete;
    SignerTrust& operator=(const SignerTrust&) = delete;
    virtual ~SignerTrust() = default;

    // `conditional`: set when the answer rests on a signer whose own certificate is being checked.
    // Answers that are conditional must not be remembered, for the open question may end otherwise.
    [[nodiscard]] virtual bool maySignLists(const Candidate& signer, const Candidate& anchor,
                                            bool& conditional) = 0;
};

// What both kinds of evidence found.
struct RevocationFinding {
    RevocationStatus status = RevocationStatus::Unknown;
    // For a good status nothing is to be said; the others become the sentence of a problem.
    std::string why; // one clause, unless the status is good
};

// Whether evidence of this age may be used: issued by then, not expired when the path has to hold.
// Seconds since 1970 throughout.
[[nodiscard]] bool isUsableAt(const PathQuery& query, std::int64_t thisUpdate,
                              const std::optional<std::int64_t>& nextUpdate) noexcept;

// A revocation: its moment, its CRLReason, and since when the certificate was invalid.
struct Revocation {
    std::int64_t date = 0;
    std::int64_t reason = 0;
    std::optional<std::int64_t> invalidSince;
};

// Whether it counts for a path at the time of the query. Evidence from later than that time counts
// when the certificate was revoked by then, or its key was known to be in other hands by then.
// Without that, a document signed years ago would become worthless the day its signer retires and
// has his certificate revoked.
[[nodiscard]] bool countsAtTime(const PathQuery& query, const Revocation& revocation) noexcept;

// "it was revoked at 2026-01-31T00:00:00Z (key compromise)" For the sentence of a problem.
[[nodiscard]] std::string describeRevocation(const Revocation& revocation);

} // namespace vantrel::x509

#endif
