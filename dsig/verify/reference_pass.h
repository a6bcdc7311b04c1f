// SPDX-License-Identifier: MIT
#ifndef DSIG_VERIFY_REFERENCE_PASS_H
#define DSIG_VERIFY_REFERENCE_PASS_H

#include "dsig/document/rules.h"
#include "dsig/reference/check_reference.h"
#include "dsig/report/signature_report.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"

namespace vantrel::dsig {

// What all references of a signature are checked with. Borrowed; the selection has a signature.
struct ReferencePassQuery {
    Document* document;
    const Selection& selection;
    ExtPtrArray* externalData;   // DSigExternalData by signature index
    const XString& externalDirs; // separated by ";"
    bool ignoreMissing;          // data that is missing is reported and not counted
    ExternalParts* parts;        // null outside a package
};

// Checks every reference, whatever became of those before it, and reports each; `report` has none
// yet. False when one
// failed that counts. `rules` become what the checks found them to be. Each failure has its error
// line, also one that does not count.
[[nodiscard]] bool checkAllReferences(const ReferencePassQuery& query, Rules& rules,
                                      SignatureReport& report, LogBase& log);

// The folders of such a list.
void splitDirs(const XString& list, ExtPtrArraySb& dirs);

} // namespace vantrel::dsig

#endif
