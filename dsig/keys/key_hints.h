// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_KEY_HINTS_H
#define DSIG_KEYS_KEY_HINTS_H

#include "dsig/document/selection.h"
#include "dsig/report/causes.h"

namespace vantrel::dsig {

// What the KeyInfo of the signature holds and names, read without any look-up. Of very many names
// the first few are told.
[[nodiscard]] KeyHints keyHints(const Selection& selection);

} // namespace vantrel::dsig

#endif
