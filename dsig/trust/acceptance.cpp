// SPDX-License-Identifier: MIT
#include "dsig/trust/acceptance.h"

#include "dsig/keys/known_to_caller.h"
#include "dsig/keys/signer.h"
#include "dsig/report/refusals.h"
#include "dsig/trust/covered_targets.h"
#include "dsig/trust/demands.h"
#include "foundation/json/json_writer.h"
#include "foundation/x509/path/path_report.h"

#include <algorithm>
#include <memory>

namespace vantrel::dsig {

namespace {

// The dates of the certificate that verified include the moment. Others were not warned of.
bool wasValidAt(const SignatureReport& report, std::int64_t moment) {
    return std::ranges::all_of(report.keys, [moment](const KeyReport& key) {
        std::int64_t notBefore = 0;
        std::int64_t notAfter = 0;
        return !key.used || (key.certificate.validity(notBefore, notAfter) && moment >= notBefore &&
                             moment <= notAfter);
    });
}

// The certificate that was judged, where the report names another one.
void nameSigner(const SignatureReport& report, const VantrelX509* signedFor, SystemCerts* store,
                Acceptance& result) {
    const bool trusted = result.trust && result.trust->path.trusted;
    const VantrelX509* const judged = trusted ? result.trust->path.path.front() : signedFor;
    if (judged == nullptr || isSameCertificate(*judged, report.signer.certificate)) {
        return;
    }
    const auto candidate = std::ranges::find_if(report.keys, [judged](const KeyReport& key) {
        return isSameCertificate(key.certificate, *judged);
    });
    result.signer = *judged;
    result.signerSource = candidate != report.keys.end() ? candidate->source
                          : storeHolds(store, *judged)   ? kGivenCertificate
                                                         : kCarriedCertificate;
}

} // namespace

Acceptance judge(const Policy& policy, const SignatureReport& report, Document* document,
                 SystemCerts* store) {
    Acceptance result;
    const auto material = std::make_shared<const Material>(report, document, store);
    JudgedSignature judged(policy, report, document, *material);
    const SignedFor signedFor = checkSigningCertificate(judged);
    result.signingCertificate = signedFor.result;
    if (!policy.anchors.empty()) {
        result.trust = judgeSigner(policy, report, document, material, signedFor.certificate);
        judged.trust = &*result.trust;
    }
    nameSigner(report, signedFor.certificate, store, result);

    // Where one digest alone was asked for, "valid" says nothing of who signed it.
    if (!report.valid || report.value != ValueCheck::Valid) {
        result.refusals.add(refusal::kNotValid);
    }
    for (const DemandEntry& entry : demandTable()) {
        if (policy.demands.contains(entry.demand) && !entry.holds(judged)) {
            result.refusals.add(entry.refusal);
        }
        result.pinned = result.pinned || (entry.demand == Demand::Pinned && entry.holds(judged));
    }
    const bool targetsCovered = std::ranges::all_of(
        policy.mustCover, [&](const std::string& target) { return coversTarget(target, judged); });
    if (!targetsCovered) {
        result.refusals.add(refusal::kTargetNotCovered);
    }
    if (result.signingCertificate == SigningCertificate::Mismatch) {
        result.refusals.add(refusal::kSigningCertificateMismatch);
    }
    result.accepted = result.refusals.codes().empty();
    return result;
}

void applyJudgement(const Acceptance& acceptance, SignatureReport& report) {
    if (acceptance.signer.isLoaded()) {
        report.signer.certificate = acceptance.signer;
        report.signer.certificateTexts = std::make_shared<CertificateTexts>();
        report.signer.source = acceptance.signerSource;
    }
    if (acceptance.pinned) {
        report.warnings.remove(warning::kKeyFromDocument);
    }
    if (!acceptance.trust) {
        return;
    }
    const SignerTrust& trust = *acceptance.trust;
    if (trust.authorityTrusted) {
        report.timestampTrusted = true;
        report.warnings.remove(warning::kTimestampAuthorityNotChecked);
    }
    if (!trust.path.trusted) {
        return;
    }
    report.warnings.remove(warning::kKeyFromDocument);
    report.warnings.remove(warning::kNameFromDocument);
    if (trust.atStampTime && wasValidAt(report, trust.path.time)) {
        report.warnings.remove(warning::kCertificateOutsideValidity);
    }
}

void writeAcceptance(const Acceptance& acceptance, json::JsonWriter& out) {
    out.booleanMember("accepted", acceptance.accepted);
    writeCodes("refusals", acceptance.refusals, out);
    out.textMember("signingCertificate", signingCertificateWord(acceptance.signingCertificate));
    if (acceptance.trust) {
        out.key("trust");
        x509::writePathResult(acceptance.trust->path, out);
    }
}

} // namespace vantrel::dsig
