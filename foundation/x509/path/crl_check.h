// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_CRL_CHECK_H
#define FOUNDATION_X509_PATH_CRL_CHECK_H

#include "foundation/x509/path/crl.h"
#include "foundation/x509/path/revocation.h"
#include "foundation/x509/path/signature_checks.h"

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace vantrel::x509 {

// The status of certificates by the revocation lists of a query (RFC 5280 6.3.3): distribution
// points, reasons, indirect and delta lists, and lists that another certificate of the issuer or
// another authority signed. Lists are read when the first status is asked for; one that cannot be
// read or must not be used says nothing. Nothing is fetched: a list that the caller did not give
// does not exist. Lives as long as the query that it belongs to, and works for one thread.
class CrlCheck final {
public:
    CrlCheck(const PathQuery& query, const CandidateStore& store, SignatureChecks& signatures,
             SignerTrust& trust) noexcept
        : m_query(query), m_store(store), m_signatures(signatures), m_trust(trust) {}

    // The finding is Unknown where the lists do not cover all reasons for a revocation. Costs
    // signature checks of the common account.
    [[nodiscard]] RevocationFinding check(const PathPlace& place);

private:
    void readLists();
    [[nodiscard]] bool isSignedFor(const Crl& crl, const PathPlace& place);
    // `conditional`: as SignerTrust has it.
    [[nodiscard]] const Candidate* findSigner(const Crl& crl, const PathPlace& place,
                                              bool& conditional);
    [[nodiscard]] bool isSignedBy(const Crl& crl, const Candidate& signer);
    [[nodiscard]] const Crl* findDelta(const Crl& crl, const PathPlace& place);
    [[nodiscard]] RevocationFinding statusBy(const Crl& crl, const PathPlace& place);
    // Adds to `reasons` what the lists of this point cover.
    void checkPoint(const DistributionPoint& point, const PathPlace& place, std::uint32_t& reasons,
                    RevocationFinding& finding);

    const PathQuery& m_query;
    const CandidateStore& m_store;
    SignatureChecks& m_signatures;
    SignerTrust& m_trust;
    bool m_read = false;
    std::vector<Crl> m_lists; // usable ones, the newest first
    // Who signed a list, by the list and the anchor; null: nobody who may be believed. A list is
    // signed with one key, however many certificates it is asked about: without this a path of a
    // hundred certificates would check it a hundred times.
    std::map<std::pair<const Crl*, const Candidate*>, const Candidate*> m_signers;
};

} // namespace vantrel::x509

#endif
