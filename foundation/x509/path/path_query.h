// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_PATH_QUERY_H
#define FOUNDATION_X509_PATH_PATH_QUERY_H

#include "foundation/text/byte_view.h"
#include "foundation/x509/path/path_problem.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vantrel {

class VantrelX509;

namespace x509 {

// Bounds of the work for one query. Candidates come from documents, and certificates that share a
// name can be combined into any number of paths.
struct PathLimits {
    std::size_t visits = 10'000;         // certificates put onto a path that is being built
    std::size_t signatureChecks = 1'000; // of certificates, lists and answers
    std::size_t nameChecks = 1U << 23U;  // comparisons of a name with a constrained subtree
    std::size_t pathLength = 100;        // certificates of one path
};

// The question: does `target`, or one of the alternatives, lead to an anchor? Certificates, lists
// and answers belong to the caller and must outlive the result.
struct PathQuery {
    const VantrelX509* target = nullptr;
    // Other certificates of which one is enough, in the order in which they are tried; the bounds
    // are for all together. When none has a path, the result is that of `target`.
    std::vector<const VantrelX509*> alternatives;
    // Where they come from does not matter: a candidate is believed for its signature, not for its
    // source.
    std::vector<const VantrelX509*> candidates; // in no order; of use or not
    // Trusted by the caller's word alone, and not for being self-signed; intermediate ones may be
    // anchors.
    std::vector<const VantrelX509*> anchors;
    std::vector<ByteView> crls;          // CertificateLists in DER
    std::vector<ByteView> ocspResponses; // OCSPResponses in DER

    // Validity, lists and answers are all judged at this moment. What a document claims of its own
    // time is no basis for it.
    std::int64_t time = 0; // seconds since 1970; when the path has to hold
    // Until when lists and answers may have been issued; the same moment when absent. A path that
    // is judged at a time of the past is checked with what is known of it today.
    std::optional<std::int64_t> revocationTime;
    // Whether the status of every certificate below the anchor must be known. Without it a list or
    // answer that names one as revoked counts all the same.
    bool checkRevocation = false;
    // Lists and answers that are older than so many seconds are not used; 0: no bound.
    std::int64_t maxRevocationAge = 0;

    std::vector<std::string> purposes; // dotted; one of them must be allowed; empty: not asked
    // Bits, one of which the target must have; 0: not asked, as it is of no target that is itself
    // an anchor.
    std::uint32_t keyUsage = 0;
    // Compared with alternative names alone, never with the common name.
    std::string name; // "dns:HOST", "ip:ADDRESS" or "email:MAILBOX"; empty: any

    std::vector<std::string> policies; // user-initial-policy-set, dotted; empty: any policy
    // The three initial flags of RFC 5280 6.1.1 e to g.
    bool explicitPolicy = false;
    bool inhibitMapping = false;
    bool inhibitAnyPolicy = false;

    std::optional<std::size_t> maxDepth; // intermediates, self-issued ones not counted
    // SHA-1 and RSA or DSA keys below 2048 bits are reported; with this they end the path. MD2, MD5
    // and keys below 1024 bits do so always.
    bool refuseWeak = false;
    PathLimits limits;
};

// What was done for a query, for those who watch over the bounds.
struct PathWork {
    std::size_t visits = 0;
    std::size_t signatureChecks = 0;
};

// The answer. Certificates are those of the query.
struct PathResult {
    bool trusted = false;
    std::int64_t time = 0;
    // From the target to the anchor; when it is not trusted, the path that came closest, which may
    // end before an anchor.
    std::vector<const VantrelX509*> path;
    // Why it is not trusted; of a trusted path only what is to be known of it (WeakAlgorithm).
    PathProblems problems;
    // The policies for which a trusted path holds (RFC 5280 6.1.6), dotted and sorted; any-policy
    // is 2.5.29.32.0.
    std::vector<std::string> policies;
    PathWork work;
};

// Builds and validates (RFC 5280 6, RFC 4158): depth first over all issuers that fit by name, those
// with the right key identifier first, until a path holds. An anchor's own certificate is held to
// the same rules as the others: validity, basic constraints, key usages, name constraints, policy
// constraints; what it says of policies is not. A target that is itself an anchor is a path of one.
// May throw std::bad_alloc.
[[nodiscard]] PathResult findPath(const PathQuery& query);

} // namespace x509
} // namespace vantrel

#endif
