// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_LOCATE_SIGNATURE_H
#define DSIG_DOCUMENT_LOCATE_SIGNATURE_H

#include "dsig/document/selection.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/locate/XmlSigLocate.h"

namespace vantrel::dsig {

// Finds the selected signature in the loaded text, by its Id, else by its first reference's digest:
// this element or none. False after an error line.
// On success `locator` holds the extents of the signature and of its SignedInfo in the text as it
// was loaded. False without a line when no signature is selected.
[[nodiscard]] bool locateSelectedSignature(const Selection& selection,
                                           const StringBuffer& firstDigest, XmlSigLocate& locator,
                                           LogBase& log);

// The line that says so.
void logNoSignatureWithId(const StringBuffer& id, LogBase& log);

} // namespace vantrel::dsig

#endif
