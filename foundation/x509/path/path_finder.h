// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_PATH_FINDER_H
#define FOUNDATION_X509_PATH_PATH_FINDER_H

#include "foundation/x509/path/candidate_store.h"
#include "foundation/x509/path/crl_check.h"
#include "foundation/x509/path/ocsp_check.h"
#include "foundation/x509/path/path_query.h"
#include "foundation/x509/path/validate_path.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel::x509 {

// Builds the paths of one query: for its target, and for the signers of the revocation lists on the
// way, who need paths of their own. One search is depth first and on a stack of its own; what does
// not depend on the rest of a path is checked at every step, the rest when an anchor is reached.
// Authorities that certify each other make a graph with loops out of what textbooks draw as a tree;
// RFC 4158 describes what there is. The search is bounded by PathLimits, not by the graph.
class PathFinder final : private SignerTrust {
public:
    // The query must outlive the finder, which is used for one run.
    explicit PathFinder(const PathQuery& query);

    [[nodiscard]] PathResult run();

private:
    // Strict searches leave what cannot hold. A tolerant one follows every signature, so that the
    // problems of the path can be told.
    enum class Mode : std::uint8_t { Strict, Tolerant };

    // A certificate on the way, with the issuers that are still to be tried above it. The vector of
    // steps is the stack: depth comes from documents, and recursion would let them exhaust the
    // machine's.
    struct Step {
        const Candidate* candidate = nullptr;
        std::vector<const Candidate*> issuers;
        std::size_t next = 0;
        bool led = false; // to a certificate above it
    };

    // One search and what came of it. The searches for signers of lists run inside the one for the
    // target, each with a Search of its own.
    struct Search {
        const PathRules* rules = nullptr;
        const Candidate* anchor = nullptr; // the only one that counts; null: every anchor
        Mode mode = Mode::Strict;
        std::vector<Step> steps;
        // What was found. When nothing holds: the first complete path, else the longest.
        bool holds = false;
        bool limited = false;
        bool complete = false;
        CandidatePath path;
        PathVerdict verdict;
    };

    // Runs until a path holds, the steps are used up or a bound is reached.
    void search(const Candidate& target, Search& search);
    void advance(Search& search);
    [[nodiscard]] bool tryIssuer(const Candidate& issuer, Search& search);
    void finish(const Candidate* anchor, Search& search);
    void noteDeadEnd(const Candidate& candidate, Search& search);
    // Why the search ended where it did; reported only if nothing better is found.
    void keepLongest(Search& search, PathProblem problem);
    [[nodiscard]] bool isOnPath(const Candidate& issuer, const Search& search) const noexcept;
    // Without a problem noted in the strict mode: only a failed query wants to know.
    [[nodiscard]] bool fits(const Candidate& issuer, Search& search);
    [[nodiscard]] bool hasSigned(const Candidate& issuer, const Candidate& subject, Search& search);
    void push(const Candidate& candidate, Search& search) const;
    void report(Search& found, PathResult& result);

    // Recursive by way of validatePath, but never deeper than kMaxSignersInQuestion.
    [[nodiscard]] bool maySignLists(const Candidate& signer, const Candidate& anchor,
                                    bool& conditional) override;

    const PathQuery& m_query;
    CandidateStore m_store;
    SignatureChecks m_signatures;
    CrlCheck m_crls;
    OcspCheck m_responses;
    // Comparisons that are left; the other accounts are in m_signatures and in m_visits.
    std::size_t m_nameChecks;
    std::size_t m_visits = 0;
    std::size_t m_visitLimit;
    bool m_signersLimited = false; // a signer of a list was not judged for lack of work left
    // The signers on whose own certificates a search is running now, the outermost first.
    std::vector<const Candidate*> m_signersInQuestion;
};

} // namespace vantrel::x509

#endif
