#ifndef FOUNDATION_X509_PATH_CANDIDATE_STORE_H
#define FOUNDATION_X509_PATH_CANDIDATE_STORE_H

#include "foundation/x509/path/certificate_facts.h"
#include "foundation/x509/path/path_query.h"

#include <deque>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel::x509 {

// A certificate that may stand on a path.
struct Candidate {
    CertificateFacts facts;
    bool isAnchor = false;
};

// All certificates of a query, each once however often it was given, found by subject.
class CandidateStore final {
public:
    explicit CandidateStore(const PathQuery& query);
    CandidateStore(const CandidateStore&) = delete;
    CandidateStore& operator=(const CandidateStore&) = delete;

    [[nodiscard]] const Candidate& target() const noexcept { return *m_target; }

    // Those whose subject has this key, the likely ones first: anchors, then those whose key
    // identifier is `keyId` (RFC 4158 3.5), then those that are valid at `time`.
    [[nodiscard]] std::vector<const Candidate*> withSubject(std::string_view subject,
                                                            ByteView keyId,
                                                            std::int64_t time) const;

private:
    std::deque<Candidate> m_all;
    const Candidate* m_target = nullptr;
    std::unordered_map<std::string_view, std::vector<const Candidate*>> m_bySubject;
};

} // namespace vantrel::x509

#endif
