// SPDX-License-Identifier: MIT
#ifndef DSIG_TRUST_COVERED_TARGETS_H
#define DSIG_TRUST_COVERED_TARGETS_H

#include "dsig/trust/demands.h"

#include <string>
#include <string_view>
#include <vector>

namespace vantrel::dsig {

// Whether a valid signature covers a target (Policy::mustCover): every octet of it lies in what its
// signed and matching references digested. A signature inside the target cannot digest itself, and
// does not count against it; the signature's own contents are covered only where a reference
// digests them. A target that is not there, or that two elements answer to, is not covered.
[[nodiscard]] bool coversTarget(std::string_view target, const JudgedSignature& it);

// The stretches of the loaded text that the signed and matching references of a valid signature
// vouch for, in order, none touching the next; empty for a signature that is not valid.
[[nodiscard]] std::vector<xml::TextRange> digestedRanges(const xml::XmlDocument& document,
                                                         const SignatureReport& report);
// Whether the stretch lies in them, all of it. Not empty, as that of an element from an entity.
[[nodiscard]] bool isDigested(xml::TextRange range, const JudgedSignature& it);

// The Id that a same-document URI names ("#x", "#xpointer(id('x'))"); empty for another URI.
[[nodiscard]] std::string fragmentId(std::string_view uri);

} // namespace vantrel::dsig

#endif
