// SPDX-License-Identifier: MIT
#include "dsig/keys/key_report.h"

#include <chrono>
#include <cstdint>

namespace vantrel::dsig {

namespace {

// Since 1970 in UTC, as VantrelX509::validity counts.
std::int64_t secondsNow() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// Dates that cannot be read are those of no valid certificate. RFC 5280 4.1.2.5: both ends of the
// period belong to it.
bool isOutsideValidity(const VantrelX509& cert) {
    const std::int64_t now = secondsNow();
    std::int64_t notBefore = 0;
    std::int64_t notAfter = 0;
    return !cert.validity(notBefore, notAfter) || now < notBefore || now > notAfter;
}

// The texts of the certificate's names are made only when the report is written: many a
// verification's report never is.
KeyReport describeKey(const CandidateKey& candidate) {
    const ClsPublicKey& key = *candidate.key;
    KeyReport report;
    report.source = candidate.source.name;
    report.type = key.keyType();
    report.bits = static_cast<int>(key.keyBits());
    report.curve = key.curveName();
    report.weak = key.isWeak();
    report.fromDocument = candidate.isFromDocument();
    report.keyGiven = candidate.keyGiven;
    report.nameFromDocument = candidate.isNameFromDocument();
    // Reported and not judged: a value that was signed while the certificate was valid is not wrong
    // because it has expired since.
    if (candidate.certificate.isLoaded()) {
        report.certificate = candidate.certificate;
        report.certificateTexts = candidate.certificateTexts;
        report.outsideValidity = isOutsideValidity(candidate.certificate);
    } else {
        report.key = Ref<ClsPublicKey>::share(candidate.key.get());
    }
    return report;
}

} // namespace

std::vector<KeyReport> describeKeys(std::span<const CandidateKey> keys) {
    std::vector<KeyReport> reports;
    reports.reserve(keys.size());
    for (const CandidateKey& key : keys) {
        reports.push_back(describeKey(key));
    }
    return reports;
}

} // namespace vantrel::dsig
