// SPDX-License-Identifier: MIT
#include "dsig/keys/certificate_keys.h"

#include "dsig/keys/document_certificates.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/base/log_tape.h"
#include "foundation/text/DataBuffer.h"

#include <memory>
#include <utility>

namespace vantrel::dsig {

namespace {

// The key is null when it could not be decoded; the callers pass that on.
CandidateKey candidate(Ref<ClsPublicKey> key, const KeySource& source, const VantrelX509& cert,
                       std::shared_ptr<CertificateTexts> texts) {
    return {.key = std::move(key),
            .source = source,
            .certificate = cert,
            .certificateTexts = std::move(texts)};
}

} // namespace

// RFC 5280 4.1.2.7: the certificate's SubjectPublicKeyInfo is a public key file of its own.
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
    // Not in the document's cache: the store may change between two questions. The texts are made
    // for this candidate alone.
    return candidate(publicKeyFromX509(cert, log), source, cert,
                     std::make_shared<CertificateTexts>());
}

CandidateKey candidateOf(CertificateCache& cache, const CertificateCache::Entry& certificate,
                         const KeySource& source, SeenCertificates& seen, LogBase& log) {
    const LogContextExitor context(log, "publicKeyFromCertBase64");
    // What is returned has a null key, which the callers leave out.
    if (!useCertificate(*certificate, seen, log)) {
        return {};
    }
    // The lines of the decoding are taped, so that the log of every signature reads as if it had
    // been decoded for that one. A failure is remembered as well: keyDecoded with a null key.
    if (!certificate->keyDecoded) {
        LogTape tape(log);
        certificate->key = publicKeyFromX509(certificate->certificate, tape);
        certificate->keyLines = tape.take();
        certificate->keyDecoded = true;
        // The cache may let go of another key for this one; a candidate that holds that key keeps
        // it alive.
        cache.keepKey(certificate);
    }
    LogTape::replay(certificate->keyLines, log);
    return candidate(Ref<ClsPublicKey>::share(certificate->key.get()), source,
                     certificate->certificate, certificate->texts);
}

} // namespace vantrel::dsig
