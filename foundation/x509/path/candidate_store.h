// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_CANDIDATE_STORE_H
#define FOUNDATION_X509_PATH_CANDIDATE_STORE_H

#include "foundation/x509/path/certificate_facts.h"
#include "foundation/x509/path/path_query.h"

#include <deque>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel::x509 {

// A certificate that may stand on a path. The validation never changes one, so that searches can
// share them by their addresses.
struct Candidate {
    CertificateFacts facts;
    bool isAnchor = false;
};

// All certificates of a query, each once however often it was given, found by subject. Not
// copyable: the index holds views into the certificates' own subjects, and everybody else holds
// their addresses.
class CandidateStore final {
public:
    // Reads every certificate of the query. One that cannot be read is kept with its fault, so that
    // the reason can be told where it is the target or the only way up. May throw std::bad_alloc.
    explicit CandidateStore(const PathQuery& query);
    CandidateStore(const CandidateStore&) = delete;
    CandidateStore& operator=(const CandidateStore&) = delete;

    [[nodiscard]] const Candidate& target() const noexcept { return *m_targets.front(); }
    // The target and its alternatives, in their order.
    [[nodiscard]] const std::vector<const Candidate*>& targets() const noexcept {
        return m_targets;
    }

    // Those whose subject has this key, the likely ones first: anchors, then those whose key
    // identifier is `keyId` (RFC 4158 3.5), then those that are valid at `time`.
    [[nodiscard]] std::vector<const Candidate*> withSubject(std::string_view subject,
                                                            ByteView keyId,
                                                            std::int64_t time) const;

private:
    // A deque, since the addresses of candidates must not change while it grows.
    std::deque<Candidate> m_all;
    std::vector<const Candidate*> m_targets;
    // The keys are views of the subjects in m_all. Hashed, since a document may bring thousands of
    // certificates of one authority.
    std::unordered_map<std::string_view, std::vector<const Candidate*>> m_bySubject;
};

} // namespace vantrel::x509

#endif
