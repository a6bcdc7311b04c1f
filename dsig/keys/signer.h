// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_SIGNER_H
#define DSIG_KEYS_SIGNER_H

#include "dsig/keys/key_query.h"
#include "dsig/report/signature_report.h"

#include <vector>

namespace vantrel::dsig {

// The source of a signer's certificate that the caller's store holds and nothing names.
inline constexpr std::string_view kGivenCertificate = "given";
// The source of one that the signature carries beside its candidate keys.
inline constexpr std::string_view kCarriedCertificate = "carried";

// Whose key verified the value: the used one of `keys`, empty when there is none or it is a secret.
// A bare key is given the first certificate that has it: of the other candidates, of the caller's
// store, of the document, in this order. That certificate names the key's holder by its own word;
// nobody has checked who issued it.
[[nodiscard]] SignerReport describeSigner(const std::vector<KeyReport>& keys,
                                          const KeyQuery& query);

} // namespace vantrel::dsig

#endif
