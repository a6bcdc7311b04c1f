// SPDX-License-Identifier: MIT
#include "foundation/x509/path/ocsp_check.h"

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/path/extensions.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace vantrel::x509 {

namespace {

// Hashes of any kind, SHA-1 by nearly all responders: it names a certificate here and secures
// nothing.
bool isHashOf(ByteView digest, int hashId, ByteView bytes) noexcept {
    std::uint8_t computed[crypto::kMaxDigestSize];
    return hashId != kHashNone && sameBytes(digest, crypto::hashBytes(hashId, bytes, computed));
}

// RFC 6960 4.1.1: by the issuer's name and key and the serial number. All three have to fit: serial
// numbers alone repeat from issuer to issuer, and an issuer's name may be used with several keys.
bool isAbout(const OcspAnswer& answer, const PathPlace& place) noexcept {
    const VantrelX509& certificate = *place.certificate.facts.certificate;
    return sameBytes(answer.serial, certificate.serialNumber()) &&
           isHashOf(answer.issuerNameHash, answer.hashId, certificate.issuer()) &&
           isHashOf(answer.issuerKeyHash, answer.hashId,
                    place.issuer.facts.certificate->subjectPublicKeyBits());
}

// Whose signature to expect. It is no proof of anything: the signature follows.
bool isResponder(const OcspResponse& response, const CertificateFacts& facts) noexcept {
    return response.responderKeyHash.empty() ? response.responderName == facts.subject
                                             : isHashOf(response.responderKeyHash, kHashSha1,
                                                        facts.certificate->subjectPublicKeyBits());
}

// Not CertificateFacts::allowsPurpose: for signing answers, neither a missing extension nor
// any-purpose is enough (RFC 6960 4.2.2.2). Else every certificate of the issuer could clear all
// others.
bool namesPurpose(const CertificateFacts& facts, ByteView purpose) noexcept {
    return std::any_of(facts.purposes.begin(), facts.purposes.end(),
                       [purpose](ByteView id) { return sameBytes(id, purpose); });
}

// The worst first: revoked, unknown, good. Unknown weighs more than good: a responder who does not
// know a certificate may be the first to notice that it was never issued.
int severity(RevocationStatus status) noexcept {
    return status == RevocationStatus::Revoked ? 2 : status == RevocationStatus::Unknown ? 1 : 0;
}

// What an answer says for a path at the time of the query; its signature is looked at elsewhere.
RevocationFinding findingOf(const PathQuery& query, const OcspAnswer& answer) {
    if (answer.status != RevocationStatus::Revoked) {
        // The text is used for an unknown status alone; a good one shows none.
        return {answer.status, "the responder does not know it"};
    }
    // Responders have no invalidity date: a revocation counts from its own moment on.
    const Revocation revocation = {answer.revokedAt, answer.reason, std::nullopt};
    if (!countsAtTime(query, revocation)) {
        return {RevocationStatus::Good, {}};
    }
    return {RevocationStatus::Revoked, describeRevocation(revocation)};
}

} // namespace

// Certificates that cannot be read are passed over: the signer's may be another one.
void OcspCheck::readResponders(Response& response) {
    LogNull log;
    for (const ByteView der : response.parsed.certificates) {
        VantrelX509& certificate = m_certificates.emplace_back();
        if (certificate.loadX509Der(DataBuffer(der), log)) {
            response.responders.push_back(readCertificateFacts(certificate));
        }
    }
}

// A response with a critical extension that is not understood is as good as none (RFC 6960 4.4).
void OcspCheck::readResponses() {
    m_read = true;
    for (const ByteView der : m_query.ocspResponses) {
        Response response;
        std::string_view whyNot;
        if (parseOcspResponse(der, response.parsed, whyNot) && !response.parsed.unknownCritical) {
            readResponders(response);
            m_responses.push_back(std::move(response));
        }
    }
}

bool OcspCheck::isSigned(const OcspResponse& response, const CertificateFacts& responder) {
    return m_signatures.bytes(response.signatureAlgorithm, response.tbs, response.signature,
                              *responder.certificate) == SignatureVerdict::Good;
}

// RFC 6960 4.2.2.2: certified by the issuer itself, with the purpose written out.
bool OcspCheck::isAuthorized(const CertificateFacts& responder, const OcspResponse& response,
                             const CertificateFacts& issuer) {
    // A response from later than the time of the path was signed by a responder who was valid
    // later.
    const std::int64_t moment = std::max(m_query.time, response.producedAt);
    // The signature is looked at last, since it alone is dear.
    return responder.fault.empty() && responder.unknownCritical.empty() &&
           isResponder(response, responder) && responder.issuer == issuer.subject &&
           namesPurpose(responder, oid::kOcspSigning) &&
           responder.maySign(kUsageDigitalSignature) && responder.notBefore <= moment &&
           moment <= responder.notAfter &&
           m_signatures.certificate(*responder.certificate, *issuer.certificate) ==
               SignatureVerdict::Good;
}

// RFC 6960 4.2.2.2.1. Asked after the signature, so that nobody but the issuer chooses how often.
bool OcspCheck::isRevoked(const CertificateFacts& responder, const PathPlace& place) {
    ByteView value;
    bool critical = false;
    if (responder.certificate->extension(oid::kOcspNoCheck, value, critical)) {
        return false;
    }
    const auto known = m_revoked.find(responder.certificate);
    if (known != m_revoked.end()) {
        return known->second;
    }
    const Candidate candidate{responder, false};
    const PathPlace own = {candidate, place.issuer, place.anchor};
    m_judgesResponder = true;
    const bool revoked = m_crls.check(own).status == RevocationStatus::Revoked ||
                         check(own).status == RevocationStatus::Revoked;
    m_judgesResponder = false;
    m_revoked.emplace(responder.certificate, revoked);
    return revoked;
}

// RFC 6960 4.2.2.2: signed by the issuer or by somebody whom he certified for it. A responder
// whom the caller knows by other means is not provided for.
bool OcspCheck::isBelievable(const Response& response, const PathPlace& place) {
    const CertificateFacts& issuer = place.issuer.facts;
    if (isResponder(response.parsed, issuer) && isSigned(response.parsed, issuer)) {
        return true;
    }
    const auto answers = [&](const CertificateFacts& responder) {
        return isAuthorized(responder, response.parsed, issuer) &&
               isSigned(response.parsed, responder) && !isRevoked(responder, place);
    };
    if (m_judgesResponder) {
        return false;
    }
    if (std::any_of(response.responders.begin(), response.responders.end(), answers)) {
        return true;
    }
    // A response may leave the certificate out; then the caller has to have it. By name only: a
    // responder who names himself by his key comes with his certificate.
    const std::vector<const Candidate*> given =
        m_store.withSubject(response.parsed.responderName, {}, m_query.time);
    return std::any_of(given.begin(), given.end(),
                       [&answers](const Candidate* one) { return answers(one->facts); });
}

RevocationFinding OcspCheck::check(const PathPlace& place) {
    if (!m_read) {
        readResponses();
    }
    const CertificateFacts& facts = place.certificate.facts;
    RevocationFinding worst = {RevocationStatus::Good, {}};
    bool answered = false;
    for (const Response& response : m_responses) {
        // A responder cannot know of a certificate before it was issued, nor need he know of it
        // after it has expired. The same holds for an archived response: its own moment counts, not
        // that of the reader. A responder asked years later may know nothing of expired
        // certificates and answer good for all (RFC 6960 4.4.4 has the archive cutoff for the
        // others).
        const std::int64_t produced = response.parsed.producedAt;
        if (produced < facts.notBefore || produced > facts.notAfter) {
            continue;
        }
        std::optional<bool> believable; // found out when there is something to believe
        // Every answer is judged on its own: one response may hold an expired and a current one.
        for (const OcspAnswer& answer : response.parsed.answers) {
            if (!isAbout(answer, place) || answer.unknownCritical ||
                !isUsableAt(m_query, answer.thisUpdate, answer.nextUpdate)) {
                continue;
            }
            if (!believable) {
                believable = isBelievable(response, place);
            }
            if (!*believable) {
                break;
            }
            RevocationFinding found = findingOf(m_query, answer);
            if (severity(found.status) > severity(worst.status)) {
                worst = std::move(found);
            }
            answered = true;
        }
    }
    if (!answered) {
        return {RevocationStatus::Unknown, "no usable answer of a responder is about it"};
    }
    return worst;
}

} // namespace vantrel::x509
