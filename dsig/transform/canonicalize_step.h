// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_CANONICALIZE_STEP_H
#define DSIG_TRANSFORM_CANONICALIZE_STEP_H

#include "dsig/document/canonicalization_method.h"
#include "dsig/document/rules.h"
#include "dsig/report/codes.h"
#include "dsig/report/ref_reason.h"
#include "dsig/transform/working_text.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"

#include <string_view>

namespace vantrel::dsig {

// The canonicalization transform (Canonical XML 1.0, Exclusive XML Canonicalization 1.0). The
// algorithm's identifier has chosen the method. A non-empty `fragmentId` restricts the result to
// the element with that Id. The octets take the text's place or, with a sink, go there. Match, or
// why it failed, which is logged; the text then stays as it was. An EBICS fragment is the
// exception: it stands for all elements that carry the mark, one behind the other. The work is
// charged to the text's account, so a document cannot have itself canonicalized without end. `sink`
// is borrowed for the call; after a failure it may have taken part of the octets, which the caller
// must not use. `leniencies` gains a code for each rule that was bent.
[[nodiscard]] RefReason canonicalizeStep(const CanonicalizationChoice& choice, WorkingText& text,
                                         const StringBuffer& fragmentId, xml::CanonSink* sink,
                                         const Rules& rules, CodeSet& leniencies, LogBase& log);

// Sets method, comments and prefixes of a canonicalizer as they were chosen.
void takeChoice(const CanonicalizationChoice& choice, XmlCanon& canonicalizer, LogBase& log);

// EBICS references write `#xpointer(//*[@authenticate='true'])`. The expression is recognised by
// its words, so quotes and axes may differ; it is never evaluated. An Id that holds all three words
// is taken for it as well.
[[nodiscard]] bool isEbicsFragment(std::string_view fragmentId) noexcept;

// Sets the attribute order of the rules, which is logged where it is a faulty one. Without such a
// rule nothing changes: namespace name, then local name (Canonical XML 1.0, 2.2).
void configureAttrSort(XmlCanon& canonicalizer, const Rules& rules, LogBase& log);

} // namespace vantrel::dsig

#endif
