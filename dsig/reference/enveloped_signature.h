// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_ENVELOPED_SIGNATURE_H
#define DSIG_REFERENCE_ENVELOPED_SIGNATURE_H

#include "dsig/document/rules.h"
#include "dsig/document/selection.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/report/codes.h"
#include "dsig/transform/working_text.h"
#include "foundation/text/LogBase.h"

namespace vantrel::dsig {

// The enveloped-signature transform (XML Signature, section 6.6.4): the selected signature, and the
// signatures that stand directly behind it, are taken out. A signature that is not there is no
// failure: the digest then decides. False only when what would have to go with it is not whole
// elements. The selected signature is found by its Id, or without one by the digest of `reference`;
// where the document is known it is that very element or none, so another with the same Id cannot
// be removed in its place. What stands behind it and goes too is reported apart and as a leniency.
[[nodiscard]] bool removeEnvelopedSignature(const Selection& selection,
                                            const DSigReference& reference, const Rules& rules,
                                            WorkingText& text, CodeSet& leniencies, LogBase& log);

} // namespace vantrel::dsig

#endif
