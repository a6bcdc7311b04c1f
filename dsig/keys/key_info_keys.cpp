// SPDX-License-Identifier: MIT
#include "dsig/keys/key_info_keys.h"

#include "dsig/keys/certificate_keys.h"
#include "dsig/keys/document_certificates.h"
#include "dsig/keys/key_info.h"
#include "dsig/keys/key_values.h"
#include "dsig/keys/known_to_caller.h"
#include "dsig/keys/security_tokens.h"
#include "dsig/keys/store_lookup.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/x509/CertificateHolder.h"

#include <memory>
#include <utility>

namespace vantrel::dsig {

namespace {

// Every key that is found is a candidate, in doubt one too many: only the check of the signature
// value tells the right one. Small keys and expired certificates give candidates too; the report
// describes them, and whoever trusts a signature decides.
class KeyWalk final : public KeyInfoWalk {
public:
    KeyWalk(const KeyQuery& query, std::vector<CandidateKey>& keys, CodeSet& leniencies,
            LogBase& log) noexcept
        : KeyInfoWalk(query,
                      {"numX509Certificates", "Need to locate BinarySecurityToken within XML..."},
                      log),
          m_keys(keys), m_leniencies(leniencies) {}

private:
    bool takeKeyValues(const ClsXml& keyInfo) override;
    void takeEmbedded(const CertificateCache::Entry& certificate) override {
        // One that gives no key has written its error line and is skipped.
        const bool isAdded = addCarried(certificate, keysource::kCertificate);
        if (isAdded && certificate->fromPem) {
            m_leniencies.add(accommodation::kCertificatePem);
        }
    }
    void takeNamed(const CertificateName& name) override {
        // A name that leads nowhere is no failure: the caller's store need not hold everybody.
        static_cast<void>(add(findNamedKey(m_query.store, name, m_log)));
    }
    void takeKeyIdentifier(const ClsXml& tokenReference) override;
    void noteReference() override;
    xml::ElementId otherToken(const TokenIndex& tokens) override;
    bool takeToken(const CertificateCache::Entry& certificate) override;
    bool takeThumbprint(const ClsXml& tokenReference) override;

    // False, and nothing appended, where there is no key.
    bool add(CandidateKey candidate);
    bool addCarried(const CertificateCache::Entry& certificate, const KeySource& source) {
        return add(candidateOf(document().certificates, certificate, source, m_seen, m_log));
    }

    std::vector<CandidateKey>& m_keys;
    CodeSet& m_leniencies;
};

bool KeyWalk::add(CandidateKey candidate) {
    if (!candidate.key) {
        return false;
    }
    // What was found by a name is the caller's own certificate; what the document carries may be
    // one of them too, octet for octet. A look-alike that bears the names of a trusted certificate
    // gains nothing by it.
    candidate.certificateGiven =
        candidate.certificate.isLoaded() &&
        (!candidate.source.inDocument || storeHolds(m_query.store, candidate.certificate));
    m_keys.push_back(std::move(candidate));
    return true;
}

// The keys before a malformed one stay candidates.
bool KeyWalk::takeKeyValues(const ClsXml& keyInfo) {
    std::vector<Ref<ClsPublicKey>> found;
    const bool allRead = readKeyValues(keyInfo, document().lastKeyValue, found, m_log);
    for (Ref<ClsPublicKey>& key : found) {
        // A bare key has no certificate that the store could hold: only an equal key of the
        // caller's can vouch for it.
        m_keys.push_back({.key = std::move(key),
                          .source = keysource::kKeyValue,
                          .certificate = {},
                          .certificateTexts = nullptr});
    }
    return allRead;
}

// A key identifier that is a certificate, or that names one of the store.
void KeyWalk::takeKeyIdentifier(const ClsXml& tokenReference) {
    if (m_log.verbose()) {
        m_log.LogInfo("Check for and handle SecurityTokenReference cases..");
    }
    const Ref<ClsXml> identifier =
        Ref<ClsXml>::adopt(tokenReference.getChildWithTagUtf8("*:KeyIdentifier"));
    // Without a store an identifier is not read at all, not even one that is a certificate.
    if (m_query.store == nullptr || !identifier) {
        return;
    }
    StringBuffer content;
    identifier->getContentSb(content);
    if (content.isEmpty()) {
        return;
    }
    StringBuffer valueType;
    identifier->getAttrValue("ValueType", valueType);
    m_log.LogDataSb("ValueType", valueType);

    // WS-Security X.509 Token Profile: #X509v3 marks a whole certificate. Every other type is tried
    // as a subject key identifier; a thumbprint then finds nothing.
    if (!valueType.endsWith("#X509v3")) {
        if (const VantrelX509* const cert =
                findNamed(m_query.store, {NamedBy::SubjectKeyId, content, {}}, m_log)) {
            static_cast<void>(add(candidateOf(*cert, keysource::kKeyIdentifier, m_log)));
        }
        return;
    }
    // The candidate shares the certificate's bytes, so it outlives the holder.
    const std::unique_ptr<CertificateHolder> holder(CertificateHolder::createFromBase64(
        content.getString(), content.getSize(), m_query.store, m_log));
    CertRecord* const record = holder ? holder->getCertPtr(m_log) : nullptr;
    if (const VantrelX509* const cert = record != nullptr ? record->getX509Ptr() : nullptr) {
        static_cast<void>(add(candidateOf(*cert, keysource::kKeyIdentifierCertificate, m_log)));
    }
}

void KeyWalk::noteReference() {
    if (m_log.verbose()) {
        m_log.LogInfo("We have a *:Reference...");
    }
}

// Signers in the wild give their only token another Id than the one they refer to. The signature
// value decides whether it is the right one, and the report names the leniency.
xml::ElementId KeyWalk::otherToken(const TokenIndex& tokens) {
    m_log.LogInfo(
        "Did not find a BinarySecurityToken with the specified URI.  Looking for any BinarySecurityToken...");
    if (tokens.first() != xml::kNoElement) {
        m_leniencies.add(accommodation::kTokenIdMismatch);
    }
    return tokens.first();
}

bool KeyWalk::takeToken(const CertificateCache::Entry& certificate) {
    if (!addCarried(certificate, keysource::kSecurityToken)) {
        m_log.LogError("Failed to get public key from cert.");
        return false;
    }
    return true;
}

// WS-Security: a token by the SHA-1 of its certificate. The thumbprint is not compared: the first
// X.509 token of the document is taken. The signature value decides whether it was the right one.
bool KeyWalk::takeThumbprint(const ClsXml& tokenReference) {
    const Ref<ClsXml> identifier =
        Ref<ClsXml>::adopt(tokenReference.getChildWithTagUtf8("*:KeyIdentifier"));
    if (!identifier) {
        return true;
    }
    m_log.LogInfo("We have a *:SecurityTokenReference/KeyIdentifier...");
    StringBuffer valueType;
    StringBuffer thumbprint;
    identifier->getAttrValue("ValueType", valueType);
    identifier->getContentSb(thumbprint);
    if (!valueType.containsSubstring("ThumbprintSHA1")) {
        return true;
    }
    m_log.LogInfo(
        "Need to find the cert from the binary security token with a given SHA1 thumbprint...");
    m_log.LogDataSb("sbKeyIdentData", thumbprint);
    logTokenSearch();
    const xml::ElementId token = document().tokens().firstX509();
    if (token == xml::kNoElement) {
        logNoToken(m_log);
        return false;
    }
    const CertificateCache::Entry certificate = certificateOf(token, false);
    // With the one asked for, which stands above, the log shows whether they differ.
    m_log.LogDataSb("sbSha1Base64", thumbprintOf(*certificate));
    if (!takeToken(certificate)) {
        return false;
    }
    m_log.LogInfo("Got public key from base64 cert.");
    return true;
}

} // namespace

bool keysFromKeyInfo(const KeyQuery& query, const ClsXml& keyInfo, std::vector<CandidateKey>& keys,
                     CodeSet& leniencies, LogBase& log) {
    const LogContextExitor context(log, "publicKeyFromKeyInfo");
    return KeyWalk(query, keys, leniencies, log).run(keyInfo);
}

} // namespace vantrel::dsig
