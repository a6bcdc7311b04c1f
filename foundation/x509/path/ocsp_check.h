// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_OCSP_CHECK_H
#define FOUNDATION_X509_PATH_OCSP_CHECK_H

#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/path/crl_check.h"
#include "foundation/x509/path/ocsp.h"
#include "foundation/x509/path/revocation.h"
#include "foundation/x509/path/signature_checks.h"

#include <deque>
#include <map>
#include <vector>

namespace vantrel::x509 {

// The status of certificates by the OCSP responses of a query (RFC 6960 3.2). A response counts
// when the issuer of the certificate signed it, or a responder whom that issuer certified for this
// purpose alone of all; nonces are not looked at, since nobody asked. A responder whose certificate
// the issuer has revoked is not believed, as far as the lists and the issuer's own answers at hand
// say so, unless the issuer wrote that nobody need ask (id-pkix-ocsp-nocheck). That nothing is
// known of him does not count against him: most issuers have no list for him. Responses are read
// when the first status is asked for. "Alone of all" means by the purpose OCSPSigning in a
// certificate that the issuer itself signed: an authority further up vouches for certificates, not
// for answers about them.
class OcspCheck final {
public:
    // Certificates from responses are kept here; `signatures` remembers them and must not be used
    // after this is gone. For one thread, for the life of one query.
    OcspCheck(const PathQuery& query, const CandidateStore& store, SignatureChecks& signatures,
              CrlCheck& crls)
        : m_query(query), m_store(store), m_signatures(signatures), m_crls(crls) {}

    // Of several answers for a certificate the worst counts. A responder who says good does not
    // outweigh one who says revoked, wherever the former got it from.
    [[nodiscard]] RevocationFinding check(const PathPlace& place);

    // A response with the certificates that it brought along. Their facts are read once.
private:
    struct Response {
        OcspResponse parsed;
        std::vector<CertificateFacts> responders; // from the response itself
    };

    void readResponses();
    void readResponders(Response& response);
    [[nodiscard]] bool isAuthorized(const CertificateFacts& responder, const OcspResponse& response,
                                    const CertificateFacts& issuer);
    [[nodiscard]] bool isSigned(const OcspResponse& response, const CertificateFacts& responder);
    [[nodiscard]] bool isBelievable(const Response& response, const PathPlace& place);
    // As far as is known: of a responder whom the issuer of `place` certified.
    [[nodiscard]] bool isRevoked(const CertificateFacts& responder, const PathPlace& place);

    const PathQuery& m_query;
    const CandidateStore& m_store;
    SignatureChecks& m_signatures;
    CrlCheck& m_crls;
    // A responder is asked about; then the issuer's own answers count alone, or responders could
    // vouch for each other in circles.
    bool m_judgesResponder = false;
    std::map<const VantrelX509*, bool> m_revoked; // responders that were asked about
    // Most queries bring no responses, or ask for none.
    bool m_read = false;
    std::vector<Response> m_responses;
    // A deque: facts hold the addresses.
    std::deque<VantrelX509> m_certificates;
};

} // namespace vantrel::x509

#endif
