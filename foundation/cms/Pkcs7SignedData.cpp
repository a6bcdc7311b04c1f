// SPDX-License-Identifier: MIT
#include "foundation/cms/Pkcs7SignedData.h"

#include "foundation/asn1/asn1_time.h"
#include "foundation/asn1/ber_normalize.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/cms/_clsCades.h"
#include "foundation/cms/certificate_path.h"
#include "foundation/cms/certificate_source.h"
#include "foundation/cms/cms_oids.h"
#include "foundation/cms/signed_data.h"
#include "foundation/cms/signer_check.h"
#include "foundation/json/ClsJsonObject.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/no_throw.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/oids.h"

#include <string_view>
#include <vector>

namespace vantrel {

namespace {

// A text that cannot be read may have meant to demand something, so it fails the verification.
bool readOptions(const _clsCades& options, bool& requireTrusted, LogBase& log) {
    requireTrusted = false;
    const StringBuffer& text = options.cmsOptions().getUtf8Sb();
    if (text.isEmpty()) {
        return true;
    }
    LogNull quiet;
    ClsJsonObject object;
    if (!object.load(text.view(), quiet)) {
        log.LogError("The CMS options are not a JSON object.");
        return false;
    }
    // A demand that is spelled "true" or 1 would be overlooked by a reader of booleans, so only the
    // two words of JSON are taken.
    using Kind = json::JsonValue::Kind;
    const json::JsonValue* const value = object.find("requireTrustedTsa");
    const Kind kind = value == nullptr ? Kind::False : value->kind();
    if (kind != Kind::True && kind != Kind::False) {
        log.LogError("The CMS option requireTrustedTsa is neither true nor false.");
        return false;
    }
    requireTrusted = kind == Kind::True;
    return true;
}

// DER of the element at the front of `ber`; what follows is dropped.
bool toDer(const DataBuffer& ber, DataBuffer& der) {
    std::vector<std::uint8_t> normal;
    std::size_t consumed = 0;
    return asn1::normalizeBer(ber.view(), normal, consumed) && der.append(ByteView(normal));
}

} // namespace

Pkcs7SignedData::Pkcs7SignedData() noexcept = default;
Pkcs7SignedData::~Pkcs7SignedData() = default;

void Pkcs7SignedData::clearResults() noexcept {
    m_isTimeStamp = false;
    m_authorityTrusted = false;
    m_tstInfo = cms::TstInfo();
    m_genTime.clear();
    m_signerSubject.clear();
    m_signerIssuer.clear();
    m_signerCertificate.clear();
}

bool Pkcs7SignedData::loadPkcs7Der(const DataBuffer& der, const char* /*reservedName*/,
                                   int /*reservedNumber*/, bool& otherContentType,
                                   SystemCerts* /*store*/, LogBase& log) {
    const LogContextExitor context(log, "loadPkcs7Der");
    // What was loaded before goes first, so that a failure leaves nothing of it.
    otherContentType = false;
    m_data.reset();
    clearResults();
    const bool loaded = text::noThrow(false, [&] { return load(der, otherContentType, log); });
    if (!loaded) {
        m_data.reset();
        m_der.clear();
    }
    return loaded;
}

bool Pkcs7SignedData::load(const DataBuffer& der, bool& otherContentType, LogBase& log) {
    using cms::SignedDataVerdict;
    m_der = der;
    m_data = std::make_unique<cms::SignedData>();
    // Nearly all messages are DER. What cannot be read as such may be BER: normalised once, if that
    // changes anything, and read again. The views then point into the normalised bytes.
    std::string_view whyNot;
    SignedDataVerdict verdict = cms::parseSignedData(m_der.view(), *m_data, whyNot);
    std::size_t rest = m_der.getSize() - m_data->size;
    DataBuffer normal;
    if (verdict == SignedDataVerdict::Malformed && toDer(der, normal) && !normal.equals(der)) {
        m_der = normal;
        verdict = cms::parseSignedData(m_der.view(), *m_data, whyNot);
        rest = 0;
    }
    otherContentType = verdict == SignedDataVerdict::OtherContentType;
    if (verdict != SignedDataVerdict::Parsed) {
        log.LogError("The bytes are not CMS signed data.");
        log.logText("reason", whyNot);
        return false;
    }
    if (rest != 0) {
        log.LogInfo("Bytes after the signed data were ignored.");
    }
    return true;
}

bool Pkcs7SignedData::verifyOpaqueSignature(DataBuffer& content, const _clsCades& options,
                                            SystemCerts* store, LogBase& log) {
    const LogContextExitor context(log, "verifyOpaqueSignature");
    content.clear();
    clearResults();
    const bool verified = text::noThrow(
        false, [&] { return verify(options, store, log) && content.append(m_data->content); });
    if (!verified) {
        clearResults();
    }
    return verified;
}

// The order of the steps decides what is logged where several would fail: options, structure,
// content, signers, trust.
bool Pkcs7SignedData::verify(const _clsCades& options, SystemCerts* store, LogBase& log) {
    bool requireTrusted = false;
    if (!readOptions(options, requireTrusted, log)) {
        return false;
    }
    // Opaque: the content is in the message. Without a signer everything would "verify".
    if (!m_data || !m_data->hasContent || m_data->signers.empty()) {
        log.LogError("The signed data has no content or no signer.");
        return false;
    }
    if (x509::sameBytes(m_data->contentType, cms::oid::kTstInfo)) {
        if (!readTimeStamp(log)) {
            return false;
        }
    } else if (requireTrusted) {
        log.LogError("A trusted time-stamp is required, but the content is no time-stamp.");
        return false;
    }
    if (!verifySigners(store, log)) {
        return false;
    }
    if (requireTrusted && !m_authorityTrusted) {
        log.LogError("The time-stamp authority is not trusted, but this is required.");
        return false;
    }
    return true;
}

std::vector<VantrelX509> Pkcs7SignedData::carriedCertificates() const {
    std::vector<VantrelX509> carried;
    if (!m_data) {
        return carried;
    }
    LogNull discard;
    for (const ByteView octets : m_data->certificates) {
        VantrelX509 certificate;
        DataBuffer der;
        if (der.append(octets) && certificate.loadX509Der(der, discard)) {
            carried.push_back(certificate);
        }
    }
    return carried;
}

cms::CarriedEvidence Pkcs7SignedData::carriedEvidence() const {
    return m_data ? cms::collectEvidence(*m_data) : cms::CarriedEvidence();
}

// RFC 3161 2.4.2: one signer, the authority, and a TSTInfo as the content.
bool Pkcs7SignedData::readTimeStamp(LogBase& log) {
    if (m_data->signers.size() != 1) {
        log.LogError("A time-stamp token must have exactly one signer.");
        return false;
    }
    std::string_view whyNot;
    if (!cms::parseTstInfo(m_data->content, m_tstInfo, whyNot)) {
        log.LogError("The content of the time-stamp token is malformed.");
        log.logText("reason", whyNot);
        return false;
    }
    m_isTimeStamp = true;
    asn1::appendIsoTime(m_tstInfo.genTime, m_genTime);
    log.logText("genTime", m_genTime);
    return true;
}

// All signers must verify: one that fails makes the message one that nobody should rely on.
bool Pkcs7SignedData::verifySigners(SystemCerts* store, LogBase& log) {
    const cms::CertificateSource source(m_data->certificates, store);
    cms::ContentDigests digests(m_data->content);
    // One source and one set of digests for all signers: certificates are parsed and the content is
    // hashed once.
    bool trusted = true;
    for (const cms::SignerInfo& signer : m_data->signers) {
        const VantrelX509* certificate = nullptr;
        if (!cms::checkSigner(*m_data, signer, digests, source, certificate, log) ||
            (m_isTimeStamp && !cms::isMadeForTimeStamping(*certificate, log))) {
            return false;
        }
        // The first signer stands for all in the report.
        if (&signer == m_data->signers.data()) {
            DistinguishedName::fromDer(certificate->subject(), true, m_signerSubject);
            DistinguishedName::fromDer(certificate->issuer(), true, m_signerIssuer);
            log.LogDataSb("signerSubject", m_signerSubject);
            m_signerCertificate = *certificate;
        }
        trusted = trusted && isTrusted(*certificate, source, log);
    }
    m_authorityTrusted = trusted;
    log.LogInfo("The signature of the signed data is valid.");
    return true;
}

// Only a time-stamp says at what time its certificates must have been valid.
bool Pkcs7SignedData::isTrusted(const VantrelX509& certificate,
                                const cms::CertificateSource& source, LogBase& log) const {
    if (!m_isTimeStamp) {
        return false;
    }
    std::string whyNot;
    if (cms::leadsToStore(certificate, source, m_tstInfo.genTime, whyNot)) {
        log.LogInfo("The time-stamp authority is trusted.");
        return true;
    }
    log.LogInfo("The time-stamp authority was not checked.");
    log.logText("reason", whyNot);
    return false;
}

} // namespace vantrel
