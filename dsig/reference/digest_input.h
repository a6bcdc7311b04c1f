// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_DIGEST_INPUT_H
#define DSIG_REFERENCE_DIGEST_INPUT_H

#include "dsig/reference/DSigReference.h"
#include "dsig/reference/check_reference.h"
#include "dsig/report/ref_reason.h"
#include "dsig/transform/working_text.h"
#include "foundation/xml/canon/canonicalizer.h"

namespace vantrel::dsig {

// What the transforms of a reference made of the document. It starts as the whole document, charged
// to that document's account.
struct DigestInput {
    explicit DigestInput(Document& document) : text(document.structure, document.account) {}

    WorkingText text;
    // Decoding waits for the end of the list, wherever in it the transform stands.
    bool base64Pending = false; // the octets are what the text decodes to
};

// Carries out the transforms of a same-document reference in their order, and the steps that XML
// Signature implies where they are not written. With a sink, the last canonicalization streams into
// it where nothing follows. Match, or why it could not be done. This is the reference processing
// model of XML Signature 1.1, 4.4.3.2. Whether the octets went to the sink is known by
// text.wasStreamed(); they did not when a later step needs them as a text, and after a failure what
// the sink got means nothing. `leniencies` gains a code for each rule that was bent.
[[nodiscard]] RefReason buildDigestInput(const ReferenceQuery& query,
                                         const DSigReference& reference,
                                         const StringBuffer& fragmentId, xml::CanonSink* sink,
                                         Rules& rules, DigestInput& input, CodeSet& leniencies,
                                         LogBase& log);

// The base64 transform: the root element's own text, decoded strictly (RFC 4648, white space
// apart). Child elements are passed over, and said to be. False when it is not base64. XML
// Signature 1.1, 6.6.2 takes the text of all descendants; signers in the wild put it into the root
// itself, and the children go into the report as not digested. After a failure `decoded` is of no
// use.
[[nodiscard]] bool decodeBase64Content(WorkingText& text, DataBuffer& decoded, CodeSet& leniencies,
                                       LogBase& log);

} // namespace vantrel::dsig

#endif
