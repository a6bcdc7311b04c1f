// SPDX-License-Identifier: MIT
#include "foundation/x509/path/revocation.h"

#include "foundation/asn1/asn1_time.h"
#include "foundation/x509/path/crl.h"

#include <cstddef>
#include <iterator>
#include <string_view>

namespace vantrel::x509 {

bool isUsableAt(const PathQuery& query, std::int64_t thisUpdate,
                const std::optional<std::int64_t>& nextUpdate) noexcept {
    // Evidence from after the time of the path need not be current at that time; it knows more.
    // Evidence from the future of either is a clock that is wrong, or a date that was made up.
    const std::int64_t latest = query.revocationTime.value_or(query.time);
    if (thisUpdate > latest || (nextUpdate && *nextUpdate < query.time)) {
        return false;
    }
    // An age is measured from the time of the path, not from the clock.
    return query.maxRevocationAge == 0 || thisUpdate >= query.time - query.maxRevocationAge;
}

bool countsAtTime(const PathQuery& query, const Revocation& revocation) noexcept {
    // Without a later moment of evidence a listed certificate is revoked, whatever date it bears.
    if (!query.revocationTime || *query.revocationTime <= query.time ||
        revocation.date <= query.time) {
        return true;
    }
    // The reasons that mean that somebody else may have signed, perhaps long before it was noticed;
    // for the others the signatures made until then stay good.
    const bool compromised = revocation.reason == kReasonKeyCompromise ||
                             revocation.reason == kReasonCaCompromise ||
                             revocation.reason == kReasonAaCompromise;
    return compromised && revocation.invalidSince && *revocation.invalidSince <= query.time;
}

std::string describeRevocation(const Revocation& revocation) {
    // CRLReason (RFC 5280 5.3.1); 7 is not used.
    constexpr std::string_view kReasons[] = {
        "no reason given", "key compromise",         "CA compromise", "affiliation changed",
        "superseded",      "cessation of operation", "on hold",       "no reason given",
        "removed",         "privilege withdrawn",    "AA compromise"};
    std::string text = "it was revoked at ";
    asn1::appendIsoTime(revocation.date, text);
    // The number is whatever the list holds.
    const bool known = revocation.reason >= 0 &&
                       revocation.reason < static_cast<std::int64_t>(std::size(kReasons));
    text += " (";
    text += kReasons[known ? static_cast<std::size_t>(revocation.reason) : 0];
    return text + ")";
}

} // namespace vantrel::x509
