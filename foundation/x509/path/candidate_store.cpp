// SPDX-License-Identifier: MIT
#include "foundation/x509/path/candidate_store.h"

#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/oids.h"

#include <algorithm>

namespace vantrel::x509 {

namespace {

// Lower is tried earlier.
int rankOf(const Candidate& candidate, ByteView keyId, std::int64_t time) noexcept {
    const CertificateFacts& facts = candidate.facts;
    // Three questions, the first of most weight: does the path end here, is it the right key, is it
    // valid. None of them excludes a candidate: key identifiers are hints that issuers get wrong.
    int rank = candidate.isAnchor ? 0 : 1;
    rank *= 3;
    if (keyId.empty() || facts.subjectKeyId.empty()) {
        rank += 1;
    } else if (!sameBytes(keyId, facts.subjectKeyId)) {
        rank += 2;
    }
    rank *= 2;
    return rank + (facts.notBefore <= time && time <= facts.notAfter ? 0 : 1);
}

} // namespace

CandidateStore::CandidateStore(const PathQuery& query) {
    std::unordered_map<std::string_view, Candidate*> byBytes;
    // By their bytes, so that a certificate that the document carries and the caller trusts is one.
    // The keys are views into the caller's certificates.
    const auto add = [&](const VantrelX509& certificate) {
        Candidate*& place = byBytes[asText(certificate.certificate())];
        if (place == nullptr) {
            place = &m_all.emplace_back(Candidate{readCertificateFacts(certificate), false});
        }
        return place;
    };
    // The targets are added first: one that is an anchor too stays one certificate, and a path of
    // one.
    m_targets.push_back(add(*query.target));
    for (const VantrelX509* const alternative : query.alternatives) {
        m_targets.push_back(add(*alternative));
    }
    for (const VantrelX509* const anchor : query.anchors) {
        add(*anchor)->isAnchor = true;
    }
    for (const VantrelX509* const certificate : query.candidates) {
        add(*certificate);
    }
    // Those with an empty subject cannot be named as an issuer (RFC 5280 4.1.2.4), so they are not
    // looked for. Nor are those whose subject could not be read.
    for (const Candidate& candidate : m_all) {
        if (!candidate.facts.subject.empty()) {
            m_bySubject[candidate.facts.subject].push_back(&candidate);
        }
    }
}

std::vector<const Candidate*> CandidateStore::withSubject(std::string_view subject, ByteView keyId,
                                                          std::int64_t time) const {
    const auto place = m_bySubject.find(subject);
    if (place == m_bySubject.end()) {
        return {};
    }
    // Stable, so that the caller's order decides between equals and a query has one answer.
    std::vector<const Candidate*> found = place->second;
    std::stable_sort(found.begin(), found.end(), [&](const Candidate* a, const Candidate* b) {
        return rankOf(*a, keyId, time) < rankOf(*b, keyId, time);
    });
    return found;
}

} // namespace vantrel::x509
