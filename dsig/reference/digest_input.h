#ifndef DSIG_REFERENCE_DIGEST_INPUT_H
#define DSIG_REFERENCE_DIGEST_INPUT_H

#include "dsig/reference/DSigReference.h"
#include "dsig/reference/check_reference.h"
#include "dsig/report/ref_reason.h"
#include "dsig/transform/working_text.h"
#include "foundation/xml/canon/canonicalizer.h"

namespace vantrel::dsig {

// What the transforms of a reference made of the document.
struct DigestInput {
    explicit DigestInput(Document& document) : text(document.structure, document.account) {}

    WorkingText text;
    bool base64Pending = false; // the octets are what the text decodes to
};

// Carries out the transforms of a same-document reference in their order, and the steps that XML
// Signature implies where they are not written. With a sink, the last canonicalization streams into
// it where nothing follows. Match, or why it could not be done.
[[nodiscard]] RefReason buildDigestInput(const ReferenceQuery& query,
                                         const DSigReference& reference,
                                         const StringBuffer& fragmentId, xml::CanonSink* sink,
                                         Rules& rules, DigestInput& input, CodeSet& leniencies,
                                         LogBase& log);

// The base64 transform: the root element's own text, decoded strictly (RFC 4648, white space
// apart). Child elements are passed over, and said to be. False when it is not base64.
[[nodiscard]] bool decodeBase64Content(WorkingText& text, DataBuffer& decoded, CodeSet& leniencies,
                                       LogBase& log);

} // namespace vantrel::dsig

#endif
