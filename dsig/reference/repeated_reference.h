// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_REPEATED_REFERENCE_H
#define DSIG_REFERENCE_REPEATED_REFERENCE_H

#include "dsig/document/rules.h"
#include "dsig/reference/check_reference.h"
#include "dsig/report/signature_report.h"
#include "foundation/text/LogBase.h"

namespace vantrel::dsig {

// The references of a list mostly read the same but for the Id that they name and the digest, and
// each names a short element and matches. What such a one is found to be is learned from one that
// was checked the usual way, step by step; the others are held against it in one piece. Whatever
// differs in anything is left to the usual way.

// True when the reference is one of those: `result`, fresh from its constructor, the log and the
// document's accounts are then as the usual way leaves them. Else nothing has changed.
[[nodiscard]] bool matchesRepeated(const ReferenceQuery& query, const Rules& rules,
                                   ReferenceResult& result, LogBase& log);

// To be told of each reference that was checked the usual way, with what was found and where its
// entries in the log begin.
void learnRepeated(const ReferenceQuery& query, const Rules& rules, const ReferenceResult& result,
                   LogBase::Place before, LogBase& log);

} // namespace vantrel::dsig

#endif
