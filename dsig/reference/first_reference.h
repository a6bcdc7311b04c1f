// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_FIRST_REFERENCE_H
#define DSIG_REFERENCE_FIRST_REFERENCE_H

#include "dsig/document/document.h"
#include "dsig/document/selection.h"
#include "dsig/reference/DSigReference.h"
#include "foundation/text/LogBase.h"

namespace vantrel::dsig {

// The first reference of the selected signature, by whose digest a signature without an Id is
// found. False after an error line when there is none; `document` may be null where no signature is
// selected. `first` must be fresh from its constructor and means nothing after a failure.
[[nodiscard]] bool parseFirstReference(Document* document, const Selection& selection,
                                       DSigReference& first, LogBase& log);

} // namespace vantrel::dsig

#endif
