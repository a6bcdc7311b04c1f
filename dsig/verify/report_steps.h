// SPDX-License-Identifier: MIT
#ifndef DSIG_VERIFY_REPORT_STEPS_H
#define DSIG_VERIFY_REPORT_STEPS_H

#include "dsig/document/document.h"
#include "dsig/document/rules.h"
#include "dsig/document/selection.h"
#include "dsig/report/signature_report.h"

#include <string_view>

namespace vantrel::dsig {

// `report` := that of an operation on the selected signature, with what stands in the document;
// `document` is null when there is none. The work of an earlier verification of the signature is
// given back.
void startReport(Document* document, const Selection& selection, const Rules& rules,
                 SignatureReport& report);
// The methods of a signature as written; what is missing leaves its field empty, and the
// verification has its error line.
void describeMethods(const Selection& selection, SignatureReport& report);
// What the references name, where their digests are not asked for.
void describeUncheckedReferences(Document& document, const Selection& selection,
                                 SignatureReport& report);
// The end of the operation: the reason of a failure, which is the last error line of the log. What
// nobody needs before the report is read is left to completeReport (complete_report.h).
void finishReport(std::string_view lastErrorLine, SignatureReport& report);

} // namespace vantrel::dsig

#endif
