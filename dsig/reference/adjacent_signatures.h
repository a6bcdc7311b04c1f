// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_ADJACENT_SIGNATURES_H
#define DSIG_REFERENCE_ADJACENT_SIGNATURES_H

#include "dsig/document/work_account.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace vantrel::dsig {

struct SignatureRow {
    std::uint32_t length = 0; // of the whole stretch
    bool more = false;        // there were more elements than are added
};

// The signature at [start, start + length) of `text`, and the signatures that follow it without a
// byte between, go together when an enveloped signature is removed: some signers digest that way.
// An element counts as a signature when its local name begins with "Signature"; its end is the last
// end tag `Signature` of the same prefix in the rest of the text, not the matching one. At most 100
// elements are added. The stretch may therefore hold more than signatures: whatever stands before
// that last end tag. The caller has to prove that it is whole elements, and to report what goes
// beyond the selected signature. Offsets and lengths are in bytes; `start` + `length` must lie
// within the text.
// `account` pays for the text that is searched; null where nobody counts. Nothing after an error
// line when it refuses.
[[nodiscard]] std::optional<SignatureRow> signatureRow(std::string_view text, std::uint32_t start,
                                                       std::uint32_t length, WorkAccount* account,
                                                       LogBase& log);

} // namespace vantrel::dsig

#endif
