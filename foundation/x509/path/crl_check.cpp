// SPDX-License-Identifier: MIT
#include "foundation/x509/path/crl_check.h"

#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/path/directory_name.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel::x509 {

namespace {

// The lists are short: those of one distribution point.
bool haveCommonName(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    return std::any_of(a.begin(), a.end(), [&b](const std::string& name) {
        return std::find(b.begin(), b.end(), name) != b.end();
    });
}

// The key of a directory name as PointName has it. As bytes like those of appendGeneralNameKey,
// since the names of points may be of any form.
std::string asPointName(std::string_view nameKey) {
    PointName name;
    name.relative.assign(nameKey);
    return name.keys({}).front();
}

// The names under which the lists of a point are found.
std::vector<std::string> namesOf(const DistributionPoint& point, const CertificateFacts& facts) {
    if (point.name.present) {
        return point.name.keys(point.crlIssuers.empty() ? facts.issuer : point.crlIssuers.front());
    }
    // A point without a name stands for all lists of the issuers that it names.
    std::vector<std::string> names;
    for (const std::string& issuer : point.crlIssuers) {
        names.push_back(asPointName(issuer));
    }
    return names;
}

// RFC 5280 6.3.3 b: whether the list is one that the point may have in mind for this certificate.
bool isInScope(const Crl& crl, const DistributionPoint& point, const CertificateFacts& facts) {
    // Whoever is named as the issuer of lists must say that they are for others too. Without the
    // indirect flag a list speaks of its own issuer's certificates only, and taking it for others
    // would let any authority revoke or clear the certificates of another one.
    if (point.crlIssuers.empty()) {
        if (crl.issuer != facts.issuer) {
            return false;
        }
    } else if (!crl.indirect || std::find(point.crlIssuers.begin(), point.crlIssuers.end(),
                                          crl.issuer) == point.crlIssuers.end()) {
        return false;
    }
    // A list for one distribution point knows nothing of the certificates of another one; to ask it
    // for them would find them good.
    if (crl.point.present && !haveCommonName(crl.point.keys(crl.issuer), namesOf(point, facts))) {
        return false;
    }
    // Lists for authorities alone, users alone or attribute certificates: the same holds.
    return !crl.onlyAttributes && !(crl.onlyUsers && facts.isCa) &&
           !(crl.onlyAuthorities && !facts.isCa);
}

// In an indirect list the serial number alone says nothing: the issuer goes with it. A walk and no
// index: most lists are asked about one certificate or two.
std::optional<CrlEntry> findEntry(const Crl& crl, const CertificateFacts& facts) {
    CrlEntryReader entries(crl);
    while (entries.next()) {
        if (sameBytes(entries.entry().serial, facts.certificate->serialNumber()) &&
            entries.entry().issuer == facts.issuer) {
            return entries.entry();
        }
    }
    return std::nullopt;
}

// Magnitudes without leading zeros. Numbers of lists have up to 20 octets (RFC 5280 5.2.3), more
// than any integer type here.
bool isBelow(ByteView a, ByteView b) noexcept {
    return a.size() != b.size()
               ? a.size() < b.size()
               : std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}

// RFC 5280 5.2.4: whether a delta list goes with a complete one. The delta must begin no later than
// the complete list ends, or revocations in between would be missed, and must be newer, or it would
// take back what the complete list knows.
bool completes(const Crl& delta, const Crl& crl) noexcept {
    return delta.baseNumber && delta.number && crl.number && delta.issuer == crl.issuer &&
           sameBytes(delta.scope, crl.scope) &&
           sameBytes(delta.authorityKeyId, crl.authorityKeyId) &&
           !isBelow(*crl.number, *delta.baseNumber) && isBelow(*crl.number, *delta.number);
}

} // namespace

// Lists that must not be used are left out here, so that none of the steps below meets them. The
// newest come first: an older one may still be valid and not know of a revocation.
void CrlCheck::readLists() {
    m_read = true;
    for (const ByteView der : m_query.crls) {
        Crl crl;
        std::string_view whyNot;
        // A list that cannot be read is as one that was not given. Refusing the query for it would
        // let anybody who can add a list to the caller's folder stop all verification.
        if (parseCrl(der, crl, whyNot) && !crl.unknownCritical &&
            isUsableAt(m_query, crl.thisUpdate, crl.nextUpdate)) {
            m_lists.push_back(std::move(crl));
        }
    }
    std::stable_sort(m_lists.begin(), m_lists.end(),
                     [](const Crl& a, const Crl& b) { return a.thisUpdate > b.thisUpdate; });
}

// The bytes are checked, not the list's issuer: that is the caller's business in findSigner.
bool CrlCheck::isSignedBy(const Crl& crl, const Candidate& signer) {
    return m_signatures.bytes(crl.signatureAlgorithm, crl.tbs, crl.signature,
                              *signer.facts.certificate) == SignatureVerdict::Good;
}

// Any certificate of the issuer's name may hold the key: authorities keep one for lists alone, and
// change keys. So the signature decides first, which is cheap, and the path of its key afterwards.
const Candidate* CrlCheck::findSigner(const Crl& crl, const PathPlace& place, bool& conditional) {
    // RFC 5280 6.3.3 f and g. The issuer of the certificate comes first: its path is this one.
    std::vector<const Candidate*> candidates =
        m_store.withSubject(crl.issuer, crl.authorityKeyId, m_query.time);
    const auto issuer = std::find(candidates.begin(), candidates.end(), &place.issuer);
    if (issuer != candidates.end()) {
        std::rotate(candidates.begin(), issuer, issuer + 1);
    }
    for (const Candidate* const candidate : candidates) {
        // The usage bit must be there where the extension is (RFC 5280 6.3.3 f): a key for signing
        // certificates alone must not be able to declare them good.
        if (!candidate->facts.fault.empty() || !candidate->facts.maySign(kUsageCrlSign) ||
            !isSignedBy(crl, *candidate)) {
            continue;
        }
        // Both ends are trusted already as far as this path is: asking for a path of their own
        // would ask the same question again, without end.
        const bool onThisPath = candidate == &place.issuer || candidate == &place.anchor;
        if (onThisPath || m_trust.maySignLists(*candidate, place.anchor, conditional)) {
            return candidate;
        }
    }
    return nullptr;
}

// Whether somebody who may do so signed the list, for paths that end at this anchor (RFC 5280 6.3.3
// f demands the same one).
bool CrlCheck::isSignedFor(const Crl& crl, const PathPlace& place) {
    const std::pair<const Crl*, const Candidate*> key(&crl, &place.anchor);
    const auto known = m_signers.find(key);
    if (known != m_signers.end()) {
        return known->second != nullptr;
    }
    bool conditional = false;
    const Candidate* const signer = findSigner(crl, place, conditional);
    // An answer that rests on an open question is not kept: the question may be answered otherwise.
    if (!conditional) {
        m_signers[key] = signer;
    }
    return signer != nullptr;
}

// Of several delta lists the one with the highest number is the last word.
const Crl* CrlCheck::findDelta(const Crl& crl, const PathPlace& place) {
    const Crl* newest = nullptr;
    for (const Crl& delta : m_lists) {
        // A delta list has to be believed like a complete one: made by somebody else it would take
        // revocations back.
        if (completes(delta, crl) && isSignedFor(delta, place) &&
            (newest == nullptr || isBelow(*newest->number, *delta.number))) {
            newest = &delta;
        }
    }
    return newest;
}

// RFC 5280 6.3.3 i to k: the delta list is asked first.
RevocationFinding CrlCheck::statusBy(const Crl& crl, const PathPlace& place) {
    std::optional<CrlEntry> entry;
    if (const Crl* const delta = findDelta(crl, place)) {
        entry = findEntry(*delta, place.certificate.facts);
    }
    if (!entry) {
        entry = findEntry(crl, place.certificate.facts);
    }
    // Only a delta list takes a certificate off: it was on hold, and is not any more. RFC 5280
    // 5.3.1 allows removeFromCRL in delta lists only; in a complete one it is read the same way,
    // since the issuer says that the certificate is not revoked.
    if (!entry || entry->reason == kReasonRemoveFromCrl) {
        return {RevocationStatus::Good, {}};
    }
    const Revocation revocation = {entry->date, entry->reason, entry->invalidSince};
    if (!countsAtTime(m_query, revocation)) {
        return {RevocationStatus::Good, {}};
    }
    return {RevocationStatus::Revoked, describeRevocation(revocation)};
}

// `reasons`: those that were looked for so far (reasons_mask).
void CrlCheck::checkPoint(const DistributionPoint& point, const PathPlace& place,
                          std::uint32_t& reasons, RevocationFinding& finding) {
    for (const Crl& crl : m_lists) {
        const std::uint32_t covered = point.reasons & crl.reasons;
        // Delta lists are never asked alone, and a list that adds no reason is not worth a
        // signature check.
        if (crl.baseNumber || (covered & ~reasons) == 0 ||
            !isInScope(crl, point, place.certificate.facts) || !isSignedFor(crl, place)) {
            continue;
        }
        RevocationFinding found = statusBy(crl, place);
        if (found.status == RevocationStatus::Revoked) {
            finding = std::move(found);
            return;
        }
        reasons |= covered;
    }
}

RevocationFinding CrlCheck::check(const PathPlace& place) {
    if (!m_read) {
        readLists();
    }
    // Points are looked through in their order until all reasons are covered or one says revoked.
    // The last is the one that RFC 5280 6.3.3 adds: lists of the issuer itself. A copy, for the
    // additional point behind them. Certificates have one or two.
    std::vector<DistributionPoint> points = place.certificate.facts.distributionPoints;
    DistributionPoint own;
    own.name.present = true;
    own.name.fullNames = {asPointName(place.certificate.facts.issuer)};
    points.push_back(std::move(own));

    std::uint32_t reasons = 0;
    RevocationFinding finding;
    for (const DistributionPoint& point : points) {
        checkPoint(point, place, reasons, finding);
        if (finding.status == RevocationStatus::Revoked) {
            return finding;
        }
        if (reasons == kAllReasons) {
            return {RevocationStatus::Good, {}};
        }
    }
    // Partly covered is told apart from not covered: in the first case the caller has to look for a
    // second list of the same issuer.
    finding.why = reasons == 0 ? "no usable revocation list covers it"
                               : "the revocation lists do not cover all reasons";
    return finding;
}

} // namespace vantrel::x509
