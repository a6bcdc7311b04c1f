// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_XPATH_STEP_H
#define DSIG_TRANSFORM_XPATH_STEP_H

#include "dsig/report/codes.h"
#include "dsig/report/ref_reason.h"
#include "dsig/transform/working_text.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel::dsig {

// The XPath and XPath Filter 2.0 transforms. Expressions are not evaluated: those that signers use
// are recognised by their text (xpath_shapes.h), and what they take out is found by searching the
// text. UnsupportedTransform, with the text as it was, for any other expression (which is logged);
// TransformFailed where what is found is not whole elements. `transform` holds the expressions of
// Filter 2.0; may be null. `xPath` is the text of the first XPath child. What was taken out is
// noted in the text's coverage, so a report shows what a signer's expression, or an attacker's,
// kept from the digest. An expression that finds nothing to take out is a Match: the digest
// decides.
[[nodiscard]] RefReason xPathStep(const ClsXml* transform, WorkingText& text,
                                  const StringBuffer& algorithm, const StringBuffer& xPath,
                                  CodeSet& leniencies, LogBase& log);

} // namespace vantrel::dsig

#endif
