// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_VALIDATE_PATH_H
#define FOUNDATION_X509_PATH_VALIDATE_PATH_H

#include "foundation/asn1/oid.h"
#include "foundation/x509/path/candidate_store.h"
#include "foundation/x509/path/path_problem.h"
#include "foundation/x509/path/peer_name.h"
#include "foundation/x509/path/revocation.h"
#include "foundation/x509/path/signature_checks.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vantrel::x509 {

class CrlCheck;
class OcspCheck;

// What a path has to satisfy, in the form in which certificates are compared with it. Made once a
// query; identifiers are octets here, since texts can spell one of them in several ways.
struct PathRules {
    std::vector<asn1::OidBytes> purposes; // one of them
    // A demand that could not be read fails the path; without the flag it would be no demand at
    // all.
    bool askPurpose = false;    // also when no purpose could be read
    std::uint32_t keyUsage = 0; // one of the bits
    std::optional<PeerName> name;
    bool askName = false;
    std::set<std::string> policies; // contents octets; empty: any
    bool explicitPolicy = false;
    bool inhibitMapping = false;
    bool inhibitAnyPolicy = false;
    std::optional<std::size_t> maxDepth;
};

[[nodiscard]] PathRules readRules(const PathQuery& query);

// What the validations of one query share. References into the finder, which outlives every
// validation.
struct PathMeans {
    const PathQuery& query;
    SignatureChecks& signatures;
    CrlCheck& crls;
    OcspCheck& responses;
    std::size_t& nameChecks;
    const bool& limited; // whether a bound kept lists or answers from being judged
};

// From the target to the anchor. Not empty. One certificate alone is a target that is itself an
// anchor.
using CandidatePath = std::vector<const Candidate*>;

struct PathVerdict {
    PathProblems problems; // those for which it does not hold
    PathProblems remarks;  // what is to be said of one that does
    // Contents octets, or any-policy. Of no use when there are problems.
    std::set<std::string> policies;
};

// Validates one path (RFC 5280 6.1), every step to its end, so that all problems are found.
// Revocation comes last and is looked at only where nothing else is wrong. May throw
// std::bad_alloc. The order of `problems` is that of the path, from the anchor down.
[[nodiscard]] PathVerdict validatePath(const CandidatePath& path, const PathRules& rules,
                                       const PathMeans& means);

// The checks of a single certificate that do not depend on its path; the first problem of
// `certificate` as a member of a path at all, and as an issuer, goes to `problems`. isUsable asks
// whether a certificate may stand anywhere, mayIssue whether it may stand above another one. The
// search asks both on its way up, so that hopeless paths end early.
[[nodiscard]] bool isUsable(const CertificateFacts& facts, std::int64_t time,
                            PathProblems& problems);
[[nodiscard]] bool mayIssue(const CertificateFacts& facts, PathProblems& problems);

} // namespace vantrel::x509

#endif
