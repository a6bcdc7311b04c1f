// SPDX-License-Identifier: MIT
#ifndef DSIG_VERIFY_VERIFY_SELECTION_H
#define DSIG_VERIFY_VERIFY_SELECTION_H

#include "dsig/document/document.h"
#include "dsig/document/limits.h"
#include "dsig/document/rules.h"
#include "dsig/document/selection.h"
#include "dsig/keys/key_info.h"
#include "dsig/reference/external_parts.h"
#include "dsig/report/signature_report.h"
#include "foundation/cms/_clsCades.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/text/arrays.h"

namespace vantrel::dsig {

// The signature that is to be verified, and all that its verification may use. Borrowed.
struct VerifyQuery {
    Document* document; // null when no signature is selected
    const Selection& selection;
    const KeyQuery& keys;
    const DataBuffer& hmacKey;
    ExtPtrArray* externalData;   // DSigExternalData by signature index
    const XString& externalDirs; // separated by ";"
    const _clsCades& cmsOptions; // of time-stamps
    const Limits& limits;
    bool checkReferences;
    bool ignoreMissing;             // external data that is missing is reported and not counted
    ExternalParts* parts = nullptr; // the package that the signature stands in; null for none
};

// The verification of one signature (XML Signature, section 3.2): its references first, where that
// is asked for, then its time-stamp, then its value. Fills `report`, which startReport has made;
// `rules` become what the steps found them to be. True when the outcome is to be summarised in the
// log: a verification that ends before the signature value is looked at leaves no such line. The
// outcome itself is `report.valid`, which stays false until a key has verified the value.
bool verifySelection(const VerifyQuery& query, Rules& rules, SignatureReport& report, LogBase& log);
// The value alone, for the report of a verification that ended before it: fills the value, the keys
// and which references it vouches for. Neither the outcome nor its reason changes. Key operations
// are charged as those of the verification.
void lookAtValue(const VerifyQuery& query, const Rules& rules, SignatureReport& report,
                 LogBase& log);

} // namespace vantrel::dsig

#endif
