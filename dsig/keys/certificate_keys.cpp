#include "dsig/keys/certificate_keys.h"

#include "dsig/keys/document_certificates.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/base/log_tape.h"
#include "foundation/text/DataBuffer.h"

#include <memory>
#include <utility>

namespace vantrel::dsig {

namespace {

CandidateKey candidate(Ref<ClsPublicKey> key, const KeySource& source, const VantrelX509& cert,
                       std::shared_ptr<CertificateTexts> texts) {
    return {.key = std::move(key),
            .source = source,
            .certificate = cert,
            .certificateTexts = std::move(texts)};
}

} // namespace

Ref<ClsPublicKey> publicKeyFromX509(const VantrelX509& cert, LogBase& log) {
    DataBuffer der;
    if (!cert.get_PublicKey(der, log)) {
        log.LogError("Failed to get public key from X.509 certificate.");
        return {};
    }
    Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    if (!key) {
        return {};
    }
    if (!key->loadAnyDer(der, log)) {
        log.LogError("Failed to parse public key DER");
        return {};
    }
    log.LogInfo("Loaded public key from X.509 certificate in KeyInfo.");
    return key;
}

CandidateKey candidateOf(const VantrelX509& cert, const KeySource& source, LogBase& log) {
    return candidate(publicKeyFromX509(cert, log), source, cert,
                     std::make_shared<CertificateTexts>());
}

CandidateKey candidateOf(CertificateCache& cache, const CertificateCache::Entry& certificate,
                         const KeySource& source, SeenCertificates& seen, LogBase& log) {
    const LogContextExitor context(log, "publicKeyFromCertBase64");
    if (!useCertificate(*certificate, seen, log)) {
        return {};
    }
    if (!certificate->keyDecoded) {
        LogTape tape(log);
        certificate->key = publicKeyFromX509(certificate->certificate, tape);
        certificate->keyLines = tape.take();
        certificate->keyDecoded = true;
        cache.keepKey(certificate);
    }
    LogTape::replay(certificate->keyLines, log);
    return candidate(Ref<ClsPublicKey>::share(certificate->key.get()), source,
                     certificate->certificate, certificate->texts);
}

} // namespace vantrel::dsig
