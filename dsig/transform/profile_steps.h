// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_PROFILE_STEPS_H
#define DSIG_TRANSFORM_PROFILE_STEPS_H

#include "dsig/document/rules.h"
#include "dsig/report/codes.h"
#include "dsig/transform/working_text.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

#include <string_view>

// Corrections that document profiles apply to the text before and after the transforms of a
// reference. What they take out is found by searching the serialized text, as their signers'
// verifiers do, and taken out only where it is whole elements.
namespace vantrel::dsig {

// Before the transforms: a document of the SII profile is cut down to the DTE element around the
// referenced Documento, which the rules remember for SignedInfo. Both are false after an error line
// when what they find is not structure of the document. Where no such DTE is found the text stays
// whole, the result is true, and the digest decides. On success rules.siiDteXml is the cut text and
// rules.siiDteOffset its place in the text before; they hold until the next cut.
[[nodiscard]] bool preprocess(const StringBuffer& fragmentId, WorkingText& text, Rules& rules,
                              CodeSet& leniencies, LogBase& log);
// After them: a SWIFT message loses its local authentication block. Only a text that names the
// SWIFT namespace is touched. The removal is noted in the coverage and as a leniency.
[[nodiscard]] bool postprocess(WorkingText& text, CodeSet& leniencies, LogBase& log);

// Cuts `xml` down to the DTE element around the Documento whose ID attribute has the value `id`,
// and notes it in the rules. False when nothing was cut. Text alone decides here: whether what was
// cut is an element has to be checked by the caller, as preprocess does.
bool cutOutSiiDte(StringBuffer& xml, std::string_view id, Rules& rules, LogBase& log);

// The invoice transform of the ZATCA rules, on text. An XML declaration goes, lines end in LF,
// white space in the start tag of Invoice is reduced, and of extensions, QR code and signature the
// first element each is removed. What is not there is left at that.
void zatcaTransformInvoice(StringBuffer& xml, LogBase& log);

} // namespace vantrel::dsig

#endif
