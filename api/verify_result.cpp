// SPDX-License-Identifier: MIT
#include "api/verify_result.h"

#include "api/document_acceptance.h"
#include "api/package_run.h"
#include "api/report_json.h"
#include "api/words.h"

#include <algorithm>

namespace vantrel {

std::string_view toString(Status status) noexcept { return api::wordOf(api::kStatusWords, status); }

std::string_view toString(ValueStatus status) noexcept {
    return api::wordOf(api::kValueWords, status);
}

std::string_view toString(ReferenceStatus status) noexcept {
    return api::wordOf(api::kReferenceWords, status);
}

std::string_view toString(TimestampStatus status) noexcept {
    return api::wordOf(api::kTimestampWords, status);
}

std::string_view toString(Acceptance acceptance) noexcept {
    return api::wordOf(api::kAcceptanceWords, acceptance);
}

std::string_view toString(SigningCertificate value) noexcept {
    return api::wordOf(api::kSigningCertificateWords, value);
}

std::string_view toString(Covers covers) noexcept { return api::wordOf(api::kCoversWords, covers); }

// Lists of a few words; a set would cost more than it saves.
bool SignatureResult::hasWarning(std::string_view word) const noexcept {
    return std::find(warnings.begin(), warnings.end(), word) != warnings.end();
}

bool SignatureResult::hasRefusal(std::string_view code) const noexcept {
    return std::any_of(refusals.begin(), refusals.end(),
                       [code](const Refusal& each) { return each.code == code; });
}

namespace {

// Whether the value holds, and no digest was passed over but those of external data that is
// missing, which a valid signature has only where the caller ignores them.
bool holds(const SignatureResult& signature) noexcept {
    return signature.valid && signature.value == ValueStatus::Valid &&
           std::all_of(signature.references.begin(), signature.references.end(),
                       [](const ReferenceResult& each) {
                           return each.status == ReferenceStatus::Match ||
                                  each.status == ReferenceStatus::Missing;
                       });
}

} // namespace

// The signatures are asked again: a caller may have changed what he holds.
VerifyResult::operator bool() const noexcept {
    const auto isGood = [this](const SignatureResult& signature) {
        return holds(signature) && signature.acceptance == acceptance;
    };
    if (!wholeSignatures || signatures.empty() || acceptance == Acceptance::Refused) {
        return false;
    }
    // Whoever asks for one need not mind the others, which may be invalid.
    if (oneSuffices && acceptance == Acceptance::Accepted && status != Status::Error) {
        return std::any_of(signatures.begin(), signatures.end(), isGood);
    }
    return status == Status::Valid && std::all_of(signatures.begin(), signatures.end(), isGood);
}

// From the verifier's own text of each signature: nothing is lost of it, and nothing can differ.
std::string VerifyResult::json(std::string_view name) const {
    std::string out = api::reportHeading(
        name, {size, sha256}, toString(status), error, [this](json::JsonWriter& writer) {
            if (acceptance != Acceptance::NotAsked) {
                api::writeAcceptance(acceptance == Acceptance::Accepted, refusals, writer);
            }
            if (container) {
                api::writeContainer(*container, writer);
            }
        });
    std::string_view divider;
    for (const SignatureResult& signature : signatures) {
        out += divider;
        out += signature.json;
        divider = ",";
    }
    out += api::kReportEnd;
    return out;
}

} // namespace vantrel
