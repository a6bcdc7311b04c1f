#ifndef FOUNDATION_X509_PATH_OCSP_CHECK_H
#define FOUNDATION_X509_PATH_OCSP_CHECK_H

#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/path/ocsp.h"
#include "foundation/x509/path/revocation.h"
#include "foundation/x509/path/signature_checks.h"

#include <deque>
#include <vector>

namespace vantrel::x509 {

// The status of certificates by the OCSP responses of a query (RFC 6960 3.2). A response counts
// when the issuer of the certificate signed it, or a responder whom that issuer certified for this
// purpose alone of all; nonces are not looked at, since nobody asked. Whether a responder was
// revoked is not asked either: the profile lets the issuer vouch for him as long as his certificate
// is valid. Responses are read when the first status is asked for.
class OcspCheck final {
public:
    // Certificates from responses are kept here; `signatures` remembers them and must not be used
    // after this is gone.
    OcspCheck(const PathQuery& query, const CandidateStore& store,
              SignatureChecks& signatures) noexcept
        : m_query(query), m_store(store), m_signatures(signatures) {}

    // Of several answers for a certificate the worst counts.
    [[nodiscard]] RevocationFinding check(const PathPlace& place);

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

    const PathQuery& m_query;
    const CandidateStore& m_store;
    SignatureChecks& m_signatures;
    bool m_read = false;
    std::vector<Response> m_responses;
    std::deque<VantrelX509> m_certificates;
};

} // namespace vantrel::x509

#endif
