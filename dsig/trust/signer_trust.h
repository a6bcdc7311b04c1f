#ifndef DSIG_TRUST_SIGNER_TRUST_H
#define DSIG_TRUST_SIGNER_TRUST_H

#include "dsig/document/document.h"
#include "dsig/report/signature_report.h"
#include "dsig/trust/policy.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/path/path_query.h"

#include <deque>
#include <memory>
#include <vector>

namespace vantrel {

class SystemCerts;

namespace dsig {

// The certificates, revocation lists and answers that are at hand for one signature: those that it
// carries, those of its candidate keys, of its time-stamp and of the caller's store. What is here
// proves nothing; paths may be built of it. Pointers are valid as long as the object.
class Material final {
public:
    // May throw std::bad_alloc. Work is charged to the document; once that is used up the rest is
    // left out, and `complete` is false.
    Material(const SignatureReport& report, Document* document, SystemCerts* store);
    Material(const Material&) = delete;
    Material& operator=(const Material&) = delete;

    [[nodiscard]] const std::vector<const VantrelX509*>& certificates() const noexcept {
        return m_certificates;
    }
    [[nodiscard]] const std::vector<ByteView>& crls() const noexcept { return m_crls; }
    [[nodiscard]] const std::vector<ByteView>& ocspResponses() const noexcept { return m_answers; }
    [[nodiscard]] bool complete() const noexcept { return m_complete; }

private:
    void add(const VantrelX509& certificate);
    void addStamp(const StampReport& stamp);
    void addCarried(const SignatureReport& report, Document& document);
    void addOctets(Document& document, const std::vector<xml::ElementId>& elements,
                   std::vector<ByteView>& out);
    [[nodiscard]] bool charge(Document& document, std::uint64_t work);

    std::deque<VantrelX509> m_owned;
    std::deque<DataBuffer> m_octets;
    std::vector<const VantrelX509*> m_certificates;
    std::vector<ByteView> m_crls;
    std::vector<ByteView> m_answers;
    bool m_complete = true;
};

// Whether the certificate of the key that verified leads to an anchor.
struct SignerTrust {
    // At the time that the policy gives; else at that of a valid time-stamp whose authority leads
    // to an anchor itself; else now. The certificates are the policy's and the material's.
    x509::PathResult path;
    bool authorityTrusted = false; // of the time-stamp
    bool atStampTime = false;
    std::shared_ptr<const Material> material;
};

// Judges the signer's certificate, and the time-stamp's authority first: its path holds at the time
// of the stamp with the purpose of time-stamping. What is known of revocations today counts for
// both, as far as it concerns the time in question. The policy has anchors and must outlive the
// result. Work is charged to the document (null for none). May throw std::bad_alloc.
[[nodiscard]] SignerTrust judgeSigner(const Policy& policy, const SignatureReport& report,
                                      Document* document, std::shared_ptr<const Material> material);

} // namespace dsig
} // namespace vantrel

#endif
