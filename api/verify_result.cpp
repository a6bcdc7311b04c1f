#include "api/verify_result.h"

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

std::string_view toString(Covers covers) noexcept { return api::wordOf(api::kCoversWords, covers); }

bool SignatureResult::hasWarning(std::string_view word) const noexcept {
    return std::find(warnings.begin(), warnings.end(), word) != warnings.end();
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
    return status == Status::Valid && wholeSignatures && !signatures.empty() &&
           std::all_of(signatures.begin(), signatures.end(), holds);
}

std::string VerifyResult::json(std::string_view name) const {
    std::string out = api::reportHeading(name, {size, sha256}, toString(status), error);
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
