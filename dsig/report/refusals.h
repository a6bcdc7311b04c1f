// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_REFUSALS_H
#define DSIG_REPORT_REFUSALS_H

#include <string_view>

namespace vantrel::dsig {

// Why a caller's policy does not accept a signature; docs/report.md explains each.
namespace refusal {
// The signature is not valid, or its value was not asked for.
inline constexpr std::string_view kNotValid = "not-valid";
inline constexpr std::string_view kNotPinned = "not-pinned";
inline constexpr std::string_view kNotTrusted = "not-trusted";
inline constexpr std::string_view kNotVouched = "not-vouched";
inline constexpr std::string_view kWeakAlgorithm = "weak-algorithm";
inline constexpr std::string_view kLeniencyUsed = "leniency-used";
inline constexpr std::string_view kNotAllChecked = "not-all-checked";
inline constexpr std::string_view kAmbiguous = "ambiguous";
inline constexpr std::string_view kDocumentNotCovered = "document-not-covered";
inline constexpr std::string_view kNoTimestamp = "no-timestamp";
// A target that must be covered is not, or is not there.
inline constexpr std::string_view kTargetNotCovered = "target-not-covered";
// The signer signed for another certificate than that of the key that verified.
inline constexpr std::string_view kSigningCertificateMismatch = "signing-certificate-mismatch";
} // namespace refusal

// A sentence for people, of static storage; empty for another text.
[[nodiscard]] std::string_view refusalText(std::string_view code) noexcept;

} // namespace vantrel::dsig

#endif
