// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_NHS_PRESCRIPTION_H
#define DSIG_TRANSFORM_NHS_PRESCRIPTION_H

#include "dsig/document/document.h"
#include "dsig/report/coverage.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

namespace vantrel::dsig {

// The octets that the signature of a prescription digests (SignatureProfile::NhsPrescription): the
// exclusive canonical form of a document that holds copies of its author, patient and line items,
// without texts of white space alone. `signature` stands where that profile has it. The work is
// charged to the document's account. False where an element is missing or there are two of it, of
// which one would be signed and the other read, or where a limit is passed. `coverage` := the
// elements that were copied and what was left out of them.
[[nodiscard]] bool derivePrescription(Document& document, xml::ElementId signature,
                                      StringBuffer& octets, Coverage& coverage, LogBase& log);

} // namespace vantrel::dsig

#endif
