// SPDX-License-Identifier: MIT
#include "dsig/report/refusals.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vantrel::dsig {

namespace {

// Said to people who have not read what a policy may ask for.
constexpr auto kTexts = std::to_array<std::pair<std::string_view, std::string_view>>({
    {refusal::kNotValid, "The signature is not valid, or its value was not checked."},
    {refusal::kNotPinned, "The key that verified is none of those that were named beforehand."},
    {refusal::kNotTrusted,
     "The signer's certificate does not lead to an authority that is trusted."},
    {refusal::kNotVouched, "Nobody but the document vouches for the key."},
    {refusal::kWeakAlgorithm, "A hash or a key is too weak."},
    {refusal::kLeniencyUsed, "The signature holds only by a leniency."},
    {refusal::kNotAllChecked, "Not every reference was checked and matched."},
    {refusal::kAmbiguous, "Other readers may see something else in what was signed."},
    {refusal::kDocumentNotCovered, "A part of the document is not signed."},
    {refusal::kNoTimestamp, "There is no valid time-stamp of an authority that is trusted."},
    {refusal::kTargetNotCovered, "What had to be signed is not, or is not there."},
    {refusal::kSigningCertificateMismatch, "The signer signed for another certificate."},
});

} // namespace

std::string_view refusalText(std::string_view code) noexcept {
    const auto found = std::find_if(kTexts.begin(), kTexts.end(),
                                    [code](const auto& each) { return each.first == code; });
    return found != kTexts.end() ? found->second : std::string_view();
}

} // namespace vantrel::dsig
