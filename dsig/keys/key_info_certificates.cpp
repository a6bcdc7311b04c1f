// SPDX-License-Identifier: MIT
#include "dsig/keys/key_info_certificates.h"

#include "dsig/keys/document_certificates.h"
#include "dsig/keys/key_info.h"
#include "dsig/keys/store_lookup.h"
#include "foundation/base/LogContextExitor.h"

namespace vantrel::dsig {

namespace {

// Certificates are what is asked for: a token of another Id does not do, and no thumbprint is
// looked at.
class CertificateWalk final : public KeyInfoWalk {
public:
    CertificateWalk(const KeyQuery& query, std::vector<StringBuffer>& out, LogBase& log) noexcept
        : KeyInfoWalk(query,
                      {"NumX509Certificates", "Need to locate BinarySecurityToken within XML...."},
                      log),
          m_out(out) {}

private:
    void takeEmbedded(const CertificateCache::Entry& certificate) override {
        if (processCertificate(*certificate, m_seen, m_log)) {
            // The text of the document without the references to carriage returns, which would not
            // be base64.
            m_out.push_back(certificate->base64);
        }
    }
    // Decoded like one of the document's own: it is noted as seen, and damaged ones are left out.
    void takeNamed(const CertificateName& name) override {
        StringBuffer base64;
        if (findNamedCertificate(m_query.store, name, base64, m_log)) {
            takeText(base64);
        }
    }
    // Whatever its type says, it is read as a subject key identifier. A certificate that stands
    // there itself is therefore not handed out.
    void takeKeyIdentifier(const ClsXml& tokenReference) override {
        CertificateName name;
        StringBuffer base64;
        if (tokenReference.getChildContentUtf8("*:KeyIdentifier", name.text, false) &&
            !name.text.isEmpty() && certBase64(findNamed(m_query.store, name, m_log), base64)) {
            takeText(base64);
        }
    }
    // A token that holds no certificate is no failure here; there is nothing to verify with it.
    bool takeToken(const CertificateCache::Entry& certificate) override {
        takeEmbedded(certificate);
        return true;
    }

    // By way of the document's cache: a certificate that many signatures name need not be decoded
    // for each.
    void takeText(const StringBuffer& base64) {
        takeEmbedded(certificateOfText(document().certificates, base64, m_log));
    }

    std::vector<StringBuffer>& m_out;
};

} // namespace

bool certificatesFromKeyInfo(const KeyQuery& query, const ClsXml& keyInfo,
                             std::vector<StringBuffer>& out, LogBase& log) {
    const LogContextExitor context(log, "certsFromKeyInfo");
    return CertificateWalk(query, out, log).run(keyInfo);
}

bool processCertificate(const DecodedCertificate& certificate, SeenCertificates& seen,
                        LogBase& log) {
    const LogContextExitor context(log, "processCertBase64");
    return useCertificate(certificate, seen, log);
}

} // namespace vantrel::dsig
